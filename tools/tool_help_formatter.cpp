#include "tools/tool_help_formatter.h"

#include <sstream>

#include "tools/tool_arguments.h"
#include "tools/tool_exit.h"

namespace OHOS::Host::Tools {
namespace {

constexpr size_t TEXT_WIDTH = 96;

// `text` in lines of at most TEXT_WIDTH columns, each indented by four spaces.
std::string Indented(const std::string& text)
{
    std::string out = "    ";
    size_t lineLength = 0;
    for (const std::string& word : ToolArguments::Split(text, " ")) {
        if (lineLength > 0 && lineLength + 1 + word.size() > TEXT_WIDTH) {
            out += "\n    ";
            lineLength = 0;
        } else if (lineLength > 0) {
            out += ' ';
            ++lineLength;
        }
        out += word;
        lineLength += word.size();
    }
    return out + "\n";
}

}  // namespace

std::string ToolHelpFormatter::make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const
{
    if (mode == CLI::AppFormatMode::Sub) {
        return make_expanded(app);
    }
    std::ostringstream out;
    out << "NAME\n" << Indented(name + " - " + app->get_description()) << "\nSYNOPSIS\n    ";
    std::string usage = make_usage(app, name);
    out << usage.substr(usage.find(':') + 2);
    out << make_positionals(app) << make_groups(app, mode) << make_subcommands(app, mode);
    const CLI::App* top = app;
    while (top->get_parent() != nullptr) {
        top = top->get_parent();
    }
    if (top != app) {
        out << make_group(
            "Global options (anywhere on the line)", false, top->get_options([top](const CLI::Option* option) {
                return option->nonpositional() && option != top->get_help_ptr() && !option->get_group().empty();
            }));
    }
    if (!app->get_footer().empty()) {
        out << "\nEXAMPLES\n" << app->get_footer() << "\n";
    }
    out << "\nEXIT STATUS\n" << Indented(ExitCodesHelp());
    return out.str();
}

}  // namespace OHOS::Host::Tools
