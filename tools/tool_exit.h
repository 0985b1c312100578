/*
 * Exit codes shared by aspctl, hidumper, bm, atm and param, so that a script can tell a refusal
 * from a missing daemon without reading messages.
 */
#ifndef TOOLS_TOOL_EXIT_H
#define TOOLS_TOOL_EXIT_H

namespace OHOS::Host::Tools {

enum ExitCode : int {
    EXIT_OK = 0,
    EXIT_FAILED = 1,     // the request failed for another reason (the message says which)
    EXIT_USAGE = 2,      // bad command line, or the service found an argument invalid (401)
    EXIT_NO_DAEMON = 3,  // asp_hostd cannot be reached
    EXIT_REFUSED = 4,    // the caller was refused: a permission missing (201) or not a system app (202)
    EXIT_NOT_FOUND = 5,  // no such bundle, token or parameter
};

// The text of the exit codes, for the tools' --help.
inline const char* ExitCodesHelp()
{
    return "Exit codes: 0 done, 1 failed, 2 usage or invalid argument (401), 3 asp_hostd not reachable, "
           "4 refused (201 permission missing, 202 not a system app), 5 not found.";
}

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TOOL_EXIT_H
