/*
 * The account program of the camera: the daemon runs it with the request in QUERY_STRING, and looks at its exit
 * status only. It works on the files below KELPA_ROOT and then has the daemon read them again.
 */

#include "camera/accounts/account_request.h"
#include "camera/accounts/accounts.h"
#include "camera/base/files.h"
#include "camera/base/number.h"
#include "camera/base/root_folder.h"
#include "platform/path.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>

namespace
{

std::string environmentText(const char *name)
{
    const char *value = std::getenv(name);
    return value != nullptr ? value : "";
}

void carryOut(const camera::AccountRequest &request, const camera::AccountFiles &accounts)
{
    switch (request.method) {
    case camera::AccountRequest::Method::Add:
        return accounts.add(request.name, request.password, request.group);
    case camera::AccountRequest::Method::Edit:
        return accounts.edit(request.name, request.password, request.group);
    case camera::AccountRequest::Method::Delete:
        return accounts.remove(request.name);
    }
}

/** Asks the daemon to read the accounts again. Without a daemon there is nobody to ask, and nothing is wrong. */
void tellDaemon(const std::string &pidFile)
{
    try {
        const std::string text = camera::readFile(pidFile);
        std::string_view digits = text;
        const pid_t pid = camera::takeNumber<pid_t>(digits).value_or(0);
        // A pid file that was left behind may name a process that SIGUSR1 would end.
        if (pid > 1 && camera::readFile("/proc/" + std::to_string(pid) + "/comm") == "kelpa\n")
            kill(pid, SIGUSR1);
    } catch (const std::exception &) {
        return;
    }
}

} // namespace

int main()
{
    try {
        const std::string root = environmentText(PATH_ROOT_VARIABLE);
        carryOut(camera::parseAccountRequest(environmentText("QUERY_STRING")), camera::AccountFiles(root + "/etc"));
        tellDaemon(root + std::string(camera::DAEMON_PID_FILE));
        return EXIT_SUCCESS;
    } catch (const std::exception &error) {
        std::cerr << "editaccount: " << error.what() << "\n";
        return EXIT_FAILURE;
    }
}
