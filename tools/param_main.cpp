// param: the device's system parameters, in the manner of the platform's parameter tool.
//   param set KEY VALUE
//   param get [KEY]        one parameter, or every parameter that is set

#include <CLI/CLI.hpp>

#include <cstdio>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/host_control_client.h"
#include "tools/tool_arguments.h"
#include "tools/tool_context.h"
#include "tools/tool_exit.h"

int main(int argc, char** argv)
{
    using namespace OHOS::Host::Tools;
    ToolContext context("param");
    CLI::App app{"set and read the device's system parameters (as root or the shell)"};
    app.require_subcommand(1);
    context.AddOptions(app, {"param set persist.security_privacy.unload_delay_ms 2000", "param get --json"});

    std::string key;
    std::string value;
    CLI::App* set = app.add_subcommand("set", "set a parameter (a const. parameter only once)");
    set->add_option("key", key, "parameter name")->required()->check(ToolArguments::NonEmpty());
    set->add_option("value", value, "new value")->required();
    CLI::App* get = app.add_subcommand("get", "show a parameter, or all of them");
    get->add_option("key", key, "parameter name (none: every parameter)")->check(ToolArguments::NonEmpty());

    if (const int parsed = context.Parse(app, argc, argv); parsed >= 0) {
        return parsed;
    }
    HostControlClient client(context);
    if (*set) {
        const HostOutcome outcome = client.SetParameter(key, value);
        if (!outcome.ok) {
            return context.Fail(outcome.exitCode, "set failed: " + outcome.message);
        }
        context.Json() ? ToolContext::PrintJson({{"key", key}, {"value", value}})
                       : static_cast<void>(std::printf("Set parameter %s %s success\n", key.c_str(), value.c_str()));
        return EXIT_OK;
    }
    if (!key.empty()) {
        const HostOutcome outcome = client.GetParameter(key, value);
        if (!outcome.ok) {
            return context.Fail(outcome.exitCode, outcome.message);
        }
        context.Json() ? ToolContext::PrintJson({{"key", key}, {"value", value}})
                       : static_cast<void>(std::printf("%s\n", value.c_str()));
        return EXIT_OK;
    }
    std::map<std::string, std::string> parameters;
    const HostOutcome outcome = client.ListParameters(parameters);
    if (!outcome.ok) {
        return context.Fail(outcome.exitCode, outcome.message);
    }
    if (context.Json()) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const auto& [name, text] : parameters) {
            list.push_back({{"key", name}, {"value", text}});
        }
        ToolContext::PrintJson(list);
        return EXIT_OK;
    }
    for (const auto& [name, text] : parameters) {
        std::printf("%s = %s\n", name.c_str(), text.c_str());
    }
    return EXIT_OK;
}
