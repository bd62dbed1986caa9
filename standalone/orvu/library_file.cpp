#include "standalone/orvu/library_file.h"

#include <algorithm>
#include <set>

#include "standalone/orvu/json.h"
#include "standalone/orvu/paths.h"
#include "standalone/orvu/system.h"
#include "standalone/qiv_ejs/qiv_ejs_host.h"

namespace orvu {

namespace {

constexpr size_t longest_message = 4096;

// The reason of the last failed read, with the native path in place of the framework's.
std::string read_failure(const LibraryFile& library) {
    std::string message(longest_message, '\0');
    int32_t line = 0;
    qiv_ejs_last_error(message.data(), message.size(), &line);
    message.resize(message.find('\0'));
    if (message.starts_with(library.framework)) {
        message.replace(0, library.framework.size(), library.native);
    }
    return message + "; expected a rule library, JSON with an \"apprule\" object";
}

const char* text_of(const json_t* object, const char* key) {
    return qiv_json_string_value(qiv_json_object_get(object, key));
}

struct Place {
    const json_t* node;
    std::string category;  // path of the parent
};

// Walks the nodes with a stack of its own: the depth of a document is its author's choice.
size_t count_rules(const json_t* top, const std::string& tag, category_map& categories) {
    size_t rules = 0;
    std::vector<Place> open{{top, tag}};
    std::set<std::string> names;
    while (!open.empty()) {
        const Place place = std::move(open.back());
        open.pop_back();
        const char* name = text_of(place.node, "category");
        if (name == nullptr) {
            continue;
        }
        const std::string category = place.category + "/" + name;
        if (!names.insert(category).second) {
            continue;  // the plug-in drops a second node of the same name
        }
        const json_t* list = qiv_json_object_get(place.node, "rules");
        for (size_t i = 0; i < qiv_json_array_size(list); ++i) {
            const json_t* rule = qiv_json_array_get(list, i);
            const json_t* elements = qiv_json_object_get(rule, "elements");
            if (qiv_json_array_size(elements) == 0) {
                continue;
            }
            ++rules;
            const auto appid =
                static_cast<uint32_t>(qiv_json_integer_value(qiv_json_object_get(rule, "appid")));
            categories.try_emplace(appid, category);
        }
        const json_t* items = qiv_json_object_get(place.node, "item");
        for (size_t i = qiv_json_array_size(items); i > 0; --i) {
            open.push_back({qiv_json_array_get(items, i - 1), category});
        }
    }
    return rules;
}

}  // namespace

bool parse_library_arguments(const std::vector<std::string>& arguments,
                             std::vector<LibraryFile>& libraries, std::string& why) {
    for (const std::string& argument : arguments) {
        LibraryFile library;
        const size_t equals = argument.find('=');
        const bool tagged = equals != std::string::npos && argument.find_first_of("/\\") > equals;
        library.tag = tagged ? argument.substr(0, equals) : "default";
        const std::string file = tagged ? argument.substr(equals + 1) : argument;
        if (library.tag.empty() || file.empty()) {
            why = "--library '" + argument + "': expected [TAG=]FILE";
            return false;
        }
        library.native = absolute_path(file);
        library.framework = framework_path(library.native);
        if (library.framework.empty()) {
            why = "--library '" + argument + "': the file's name is no UTF-8";
            return false;
        }
        const auto same = std::find_if(libraries.begin(), libraries.end(),
                                       [&](const auto& other) { return other.tag == library.tag; });
        if (same != libraries.end()) {
            why = "--library: the tag '" + library.tag +
                  "' is given twice; name each library as TAG=FILE";
            return false;
        }
        libraries.push_back(std::move(library));
    }
    // The order of tags is the order of loading, here as in the plug-in.
    std::sort(libraries.begin(), libraries.end(),
              [](const auto& a, const auto& b) { return a.tag < b.tag; });
    return true;
}

bool check_library(const LibraryFile& library, category_map& categories, std::string& why) {
    const json_ptr document(qiv_json_load_file_ejs(library.framework.c_str()));
    if (!document) {
        why = read_failure(library);
        return false;
    }
    const json_t* top = qiv_json_object_get(document.get(), "apprule");
    if (top == nullptr) {
        why = library.native + ": has no \"apprule\"; expected {\"apprule\": {\"category\": ...}}";
        return false;
    }
    if (count_rules(top, library.tag, categories) == 0) {
        why = library.native +
              ": yields no rule; expected nodes with a \"category\" and \"rules\", "
              "each rule with an \"appid\" and an array \"elements\" that isn't empty";
        return false;
    }
    return true;
}

}  // namespace orvu
