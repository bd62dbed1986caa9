// The program `orvu`: the command line of the standalone host.

#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <exception>

#include "standalone/orvu/command.h"
#include "standalone/orvu/system.h"

namespace {

using orvu::Arguments;
using orvu::Command;

constexpr std::array commands{&orvu::describe_command, &orvu::identify_command};

void declare(CLI::App& app, const Command& command, Arguments& arguments) {
    CLI::App* sub = app.add_subcommand(command.name, command.summary);
    sub->footer(command.details);
    sub->add_flag("--json", arguments.json, "Print one JSON object a line");
    sub->add_option("--home", arguments.home, "The host's folder (default: see orvu --help)")
        ->type_name("DIR");
    sub->add_option("--signer-trust", arguments.signer_trust,
                    "Name a signer only if the chain ends in a root of this set")
        ->type_name("none|FILE|system");
    if (command.takes_libraries) {
        sub->add_option("--library", arguments.libraries,
                        "A rule library and the tag to load it under; may be given again")
            ->type_name("[TAG=]FILE")
            ->required()
            ->allow_extra_args(false);
    }
    sub->add_option(command.operand, arguments.operands, command.operand_help)
        ->type_name("")
        ->required();
}

}  // namespace

int main(int argc, char** argv) {
    orvu::prepare_streams();
    CLI::App app("Which catalogued application does an executable belong to?", "orvu");
    app.footer(
        "Exit codes: 0 done, 1 nothing found or refused, 2 wrong use.\n"
        "The home folder is --home, else ORVU_HOME, else " +
        orvu::default_home_words() + ".");
    app.set_version_flag("--version", ORVU_VERSION);
    app.allow_windows_style_options(false);  // "/tmp/x" is a path on every system
    app.require_subcommand(1);
    Arguments arguments;
    for (const Command* command : commands) {
        declare(app, *command, arguments);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? orvu::exit_done : orvu::exit_usage;
    }
    try {
        for (const Command* command : commands) {
            if (app.got_subcommand(command->name)) {
                return command->run(arguments);
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvu: %s\n", error.what());
        return orvu::exit_nothing;
    }
    return orvu::exit_usage;
}
