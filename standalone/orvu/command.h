#ifndef ORVU_PROGRAM_COMMAND_H
#define ORVU_PROGRAM_COMMAND_H

// A command of the program: what it needs, its help, and its work. Each command is one source file;
// main.cpp alone turns the list into a command line.

#include <string>
#include <vector>

namespace orvu {

// The program's exit codes.
inline constexpr int exit_done = 0;
inline constexpr int exit_nothing = 1;  // nothing found, or refused
inline constexpr int exit_usage = 2;

// What a command gets from the command line.
struct Arguments {
    bool json = false;                   // one JSON object a line instead of text for people
    std::string home;                    // --home, empty when it wasn't given
    std::string signer_trust;            // --signer-trust, empty when it wasn't given
    std::vector<std::string> libraries;  // --library, each [TAG=]FILE
    std::vector<std::string> operands;   // FILE... or PATH..., "-" for standard input
};

struct Command {
    const char* name;
    const char* summary;  // one line, shown in the list of commands
    const char* details;  // a paragraph, shown by the command's own --help
    const char* operand;  // the operand's name in the help
    const char* operand_help;
    bool takes_libraries;
    int (*run)(const Arguments& arguments);  // gives an exit code
};

extern const Command describe_command;
extern const Command identify_command;

}  // namespace orvu

#endif  // ORVU_PROGRAM_COMMAND_H
