// param: the device's system parameters, in the manner of the platform's parameter tool.
//   param set KEY VALUE
//   param get [KEY]        one parameter, or every parameter that is set

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>
#include <string>

#include "tools/host_control_client.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

int main(int argc, char** argv)
{
    using namespace OHOS::Host::Tools;
    ToolContext context("param");
    CLI::App app{"param: set and read the device's system parameters (as root or the shell)."};
    app.footer(ExitCodesHelp());
    app.require_subcommand(1);
    context.AddOptions(app);

    std::string key;
    std::string value;
    CLI::App* set = app.add_subcommand("set", "set a parameter (a const. parameter only once)");
    set->add_option("key", key, "parameter name")->required();
    set->add_option("value", value, "new value")->required();
    CLI::App* get = app.add_subcommand("get", "show a parameter, or all of them");
    get->add_option("key", key, "parameter name (none: every parameter)");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    context.Resolve();
    HostControlClient client(context);
    if (*set) {
        const HostOutcome outcome = client.SetParameter(key, value);
        if (!outcome.ok) {
            return context.Fail(outcome.exitCode, "set failed: " + outcome.message);
        }
        std::printf("Set parameter %s %s success\n", key.c_str(), value.c_str());
        return EXIT_OK;
    }
    if (!key.empty()) {
        const HostOutcome outcome = client.GetParameter(key, value);
        if (!outcome.ok) {
            return context.Fail(outcome.exitCode, outcome.message);
        }
        std::printf("%s\n", value.c_str());
        return EXIT_OK;
    }
    std::map<std::string, std::string> parameters;
    const HostOutcome outcome = client.ListParameters(parameters);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
    }
    for (const auto& [name, text] : parameters) {
        std::printf("%s = %s\n", name.c_str(), text.c_str());
    }
    return EXIT_OK;
}
