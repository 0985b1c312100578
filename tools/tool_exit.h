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
    EXIT_USAGE = 2,      // bad command line or argument (also one the service or a dump found invalid, 401)
    EXIT_NO_DAEMON = 3,  // asp_hostd cannot be reached
    EXIT_REFUSED = 4,    // the caller was refused: a permission missing (201), not a system app (202), a dump
                         // from a uid the daemon does not pass
    EXIT_NOT_FOUND = 5,  // no such bundle, user, group of the app, token or parameter
};

// The text of the exit codes, for the tools' --help.
inline const char* ExitCodesHelp()
{
    return "0 done (also when nothing had to change); 1 failed, the message says why; 2 bad command line or "
           "argument (also 401 from the service); 3 asp_hostd not reachable; 4 refused (201 permission missing, "
           "202 not a system app, a dump from a uid the daemon does not pass); 5 not found (bundle, user, the "
           "app's group, token, parameter).";
}

}  // namespace OHOS::Host::Tools

#endif  // TOOLS_TOOL_EXIT_H
