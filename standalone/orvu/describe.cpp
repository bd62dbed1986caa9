// `orvu describe`: the attributes of a file as rules can state them.

#include <algorithm>
#include <array>
#include <string>

#include "plugins/kolvessa/kolvessa/app_info.h"
#include "standalone/orvu/command.h"
#include "standalone/orvu/home.h"
#include "standalone/orvu/json.h"
#include "standalone/orvu/operands.h"
#include "standalone/orvu/output.h"
#include "standalone/orvu/paths.h"
#include "standalone/orvu/system.h"
#include "standalone/orvubase/core/utf.h"

namespace orvu {

namespace {

using kolvessa::AppInfo;

struct Attribute {
    const char* key;  // as in a rule element
    decltype(&AppInfo::signer) value;
};
constexpr std::array<Attribute, 7> attributes{{
    {"signer", &AppInfo::signer},
    {"iconhash", &AppInfo::iconhash},
    {"productname", &AppInfo::productname},
    {"originalname", &AppInfo::originalname},
    {"copyright", &AppInfo::copyright},
    {"description", &AppInfo::description},
    {"procpath", &AppInfo::procpath},
}};

std::string text_of(const AppInfo& info, const Attribute& attribute) {
    return wide_to_utf8_lossy(kolvessa::until_nul(info.*attribute.value));
}

std::string json_answer(const std::string& path, const AppInfo& info) {
    const json_ptr answer(qiv_json_object());
    qiv_json_object_set_new(answer.get(), "path", qiv_json_string(printable(path).c_str()));
    for (const Attribute& attribute : attributes) {
        const std::string value = text_of(info, attribute);
        qiv_json_object_set_new(answer.get(), attribute.key,
                                value.empty() ? qiv_json_null() : qiv_json_string(value.c_str()));
    }
    return json_line(answer.get());
}

std::string text_answer(const std::string& path, const AppInfo& info) {
    std::string text = printable(path);
    for (const Attribute& attribute : attributes) {
        std::string line = std::string("  ") + attribute.key;
        line.resize(16, ' ');
        const std::string value = text_of(info, attribute);
        text += "\n" + line + (value.empty() ? "-" : printable(value));
    }
    return text;
}

int describe(const Arguments& arguments) {
    std::string why;
    if (!choose_home(arguments, why) || !choose_signer_trust(arguments, why)) {
        remark(printable(why));
        return exit_nothing;
    }
    OperandSource source(arguments.operands);
    Progress progress("described", source.known_count());
    bool all = true;
    std::string operand;
    while (source.next(operand)) {
        progress.step();
        const std::string path = absolute_path(operand);
        const auto wide = wide_framework_path(path);
        const FileKind kind = file_kind(path);
        if (kind != FileKind::file || wide.empty()) {
            remark(printable(path) + (kind == FileKind::missing ? ": no such file"
                                      : kind == FileKind::other ? ": not a file"
                                                                : ": the name is no UTF-8"));
            all = false;
            continue;
        }
        AppInfo info;
        kolvessa::read_app_info(wide.c_str(), true, info);
        if (!print_line(arguments.json ? json_answer(path, info) : text_answer(path, info))) {
            break;
        }
    }
    return all ? exit_done : exit_nothing;
}

}  // namespace

const Command describe_command = {
    .name = "describe",
    .summary = "The seven attributes of a file, as a rule element states them",
    .details =
        "Prints what rules can test of each FILE, under the keys of a rule element; \"-\", or "
        "null\n"
        "with --json, where the file states nothing. A file without version information has its "
        "name\n"
        "as \"originalname\". Exit code 1 when a FILE could not be read.",
    .operand = "FILE",
    .operand_help = "Files to describe; - reads one path a line from standard input",
    .takes_libraries = false,
    .run = describe,
};

}  // namespace orvu
