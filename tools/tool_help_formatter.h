/*
 * The tools' --help, laid out as a manual page: NAME, SYNOPSIS, the command's arguments, options
 * and subcommands, the global options (which a subcommand accepts too, anywhere on the line),
 * EXAMPLES (the command's footer) and EXIT STATUS. Set on a tool's top command before its
 * subcommands are added, it serves them all.
 */
#ifndef TOOLS_TOOL_HELP_FORMATTER_H
#define TOOLS_TOOL_HELP_FORMATTER_H

#include <CLI/CLI.hpp>

#include <string>

namespace OHOS::Host::Tools {

class ToolHelpFormatter : public CLI::Formatter {
public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
};

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TOOL_HELP_FORMATTER_H
