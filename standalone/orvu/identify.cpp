// `orvu identify`: which appids do rule libraries give these executables?

#include <cstdio>
#include <string>

#include "standalone/orvu/command.h"
#include "standalone/orvu/home.h"
#include "standalone/orvu/in_process.h"
#include "standalone/orvu/json.h"
#include "standalone/orvu/operands.h"
#include "standalone/orvu/output.h"
#include "standalone/orvu/system.h"

namespace orvu {

namespace {

std::string json_answer(const std::string& path, const Identification& found) {
    const json_ptr answer(qiv_json_object());
    qiv_json_object_set_new(answer.get(), "path", qiv_json_string(printable(path).c_str()));
    json_t* appids = qiv_json_array();
    for (const uint32_t appid : found.appids) {
        qiv_json_array_append_new(appids, qiv_json_integer(appid));
    }
    qiv_json_object_set_new(answer.get(), "appids", appids);
    qiv_json_object_set_new(answer.get(), "outcome", qiv_json_string(found.outcome.c_str()));
    return json_line(answer.get());
}

std::string row(const std::string& appids, const std::string& what, const std::string& path) {
    std::string line = appids;
    line.resize(std::max<size_t>(line.size() + 2, 12), ' ');
    line += what;
    line.resize(std::max<size_t>(line.size() + 2, 12 + 34), ' ');
    return line + path;
}

std::string text_answer(const std::string& path, const Identification& found,
                        const category_map& categories) {
    std::string what = found.outcome;
    if (!found.appids.empty()) {
        const auto category = categories.find(found.appids.front());
        what = category == categories.end() ? found.outcome : printable(category->second);
    }
    return row(appid_list(found.appids), what, printable(path));
}

void remark_on(const std::string& path) {
    switch (file_kind(path)) {
        case FileKind::file:
            return;
        case FileKind::missing:
            remark(printable(path) + ": no such file; decided by its name and path alone");
            return;
        case FileKind::other:
            remark(printable(path) + ": not a file; decided by its name and path alone");
            return;
    }
}

int answer_all(const Arguments& arguments, const category_map& categories) {
    OperandSource source(arguments.operands);
    Progress progress("identified", source.known_count());
    if (!arguments.json && !print_line(row("APPID", "CATEGORY OR OUTCOME", "PATH"))) {
        return exit_nothing;
    }
    bool any = false;
    std::string operand;
    while (source.next(operand)) {
        const std::string path = absolute_path(operand);
        remark_on(path);
        const Identification found = identify_path(path);
        any = any || !found.appids.empty();
        if (!print_line(arguments.json ? json_answer(path, found)
                                       : text_answer(path, found, categories))) {
            break;
        }
        progress.step();
    }
    return any ? exit_done : exit_nothing;
}

int identify(const Arguments& arguments) {
    std::string why;
    std::vector<LibraryFile> libraries;
    if (!parse_library_arguments(arguments.libraries, libraries, why)) {
        remark(why);
        return exit_usage;
    }
    category_map categories;
    bool usable = true;
    for (const LibraryFile& library : libraries) {
        if (!check_library(library, categories, why)) {
            remark(printable(why));
            usable = false;
        }
    }
    if (!usable) {
        return exit_nothing;
    }
    int code = exit_nothing;
    {
        TemporaryHome home;
        if (choose_home(arguments, why) && choose_signer_trust(arguments, why) &&
            home.create(why) && start_plugin(libraries, why)) {
            code = answer_all(arguments, categories);
        } else {
            remark(printable(why));
        }
    }
    // The plug-in's threads have no end and must not see the libraries below them taken down.
    leave(code);
}

}  // namespace

const Command identify_command = {
    .name = "identify",
    .summary = "Which appids do rule libraries give these executables?",
    .details =
        "Starts the plug-in with the libraries, reports one process start for each PATH, and "
        "prints\n"
        "what the plug-in told of it: the appids, and an outcome: \"identified\", \"no rule\" "
        "(decided,\n"
        "but no rule describes it), \"failed\" or \"timed out\". A path that doesn't exist is "
        "decided by\n"
        "its name and path alone. Exit code 1 when no path was identified.",
    .operand = "PATH",
    .operand_help = "Executables; - reads one path a line from standard input",
    .takes_libraries = true,
    .run = identify,
};

}  // namespace orvu
