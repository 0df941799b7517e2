#include "daemon/netutil/resolver_file.h"

#include "platform/path.h"

#include <algorithm>
#include <arpa/inet.h>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace
{

constexpr char RESOLVER_FILE[] = "/etc/resolv.conf";
constexpr size_t MAX_READ = 256;

/** Reads the file's beginning; returns the number of bytes, or -1. */
ssize_t ReadResolverFile(char (&acText)[MAX_READ])
{
    char acPath[PATH_MAX];
    if (Path_Resolve(RESOLVER_FILE, acPath) != 0)
        return -1;
    const int iFile = open(acPath, O_RDONLY | O_CLOEXEC);
    if (iFile < 0)
        return -1;
    const ssize_t length = read(iFile, acText, sizeof acText);
    close(iFile);
    return length;
}

/** Takes the next server's line, and what stands before it, off the front of `rest`. */
int TakeServer(std::string_view &rest, in_addr_t &uiServer)
{
    constexpr std::string_view KEY = "nameserver ";
    const size_t at = rest.find(KEY);
    if (at == std::string_view::npos)
        return -1;
    rest.remove_prefix(at + KEY.size());
    const size_t length = rest.find('\n');
    if (length == std::string_view::npos)
        return -1;
    char acAddress[MAX_READ + 1] = {};
    memcpy(acAddress, rest.data(), length);
    uiServer = inet_addr(acAddress);
    rest.remove_prefix(length + 1);
    return 0;
}

} // namespace

int NetUtility_GetDNSServer(in_addr_t &uiPrimary, in_addr_t &uiSecondary)
{
    uiPrimary = uiSecondary = 0;
    char acText[MAX_READ];
    const ssize_t length = ReadResolverFile(acText);
    if (length < 0)
        return -1;
    std::string_view rest(acText, static_cast<size_t>(length));
    if (TakeServer(rest, uiPrimary) != 0)
        return -1;
    // KEPT: whatever follows the first server has to hold a second one, else the call fails although the first is
    // stored; callers take the failure as a file that they had better not use.
    return rest.empty() ? 0 : TakeServer(rest, uiSecondary);
}
