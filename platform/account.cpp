#include "platform/account.h"

#include "platform/log.h"
#include "platform/path.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace
{

constexpr std::string_view DEFAULT_GROUPS = "admin,operator,view";
constexpr size_t MAX_PATH = 512;
constexpr size_t MAX_GROUP_IDS = 16;

/** Holds one account file at a time; only pages that a file really fills become resident. */
char g_acFile[65536];

/** Reads a whole file into g_acFile; false when it cannot be read or does not fit. */
bool ReadFile(const char *pcFixedPath, std::string_view &text)
{
    char acPath[MAX_PATH];
    const int iFile = Path_Resolve(pcFixedPath, acPath) == 0 ? open(acPath, O_RDONLY | O_CLOEXEC) : -1;
    if (iFile < 0)
        return false;
    size_t length = 0;
    ssize_t got = 0;
    while (length < sizeof g_acFile && (got = read(iFile, g_acFile + length, sizeof g_acFile - length)) > 0)
        length += static_cast<size_t>(got);
    close(iFile);
    text = {g_acFile, length};
    if (length == sizeof g_acFile)
        errno = EFBIG;
    return got == 0 && length < sizeof g_acFile;
}

/** Cuts the text at the first `cEnd`: returns what stands before it, leaves what follows it. */
std::string_view TakeUntil(std::string_view &rest, char cEnd)
{
    const size_t at = rest.find(cEnd);
    const std::string_view taken(rest.data(), at == std::string_view::npos ? rest.size() : at);
    rest.remove_prefix(at == std::string_view::npos ? rest.size() : at + 1);
    return taken;
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view BLANKS = " \t\r";
    while (!text.empty() && BLANKS.find(text.front()) != std::string_view::npos)
        text.remove_prefix(1);
    while (!text.empty() && BLANKS.find(text.back()) != std::string_view::npos)
        text.remove_suffix(1);
    return text;
}

bool ListHolds(std::string_view list, std::string_view name)
{
    while (!list.empty())
        if (Trim(TakeUntil(list, ',')) == name)
            return true;
    return false;
}

bool IsNumber(std::string_view text)
{
    return !text.empty() && text.size() < sizeof AM_User::acIndex &&
           text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool Copy(std::string_view text, char *pcOut, size_t size)
{
    if (text.size() >= size)
        return false;
    memcpy(pcOut, text.data(), text.size());
    pcOut[text.size()] = '\0';
    return true;
}

/** Splits a line into exactly N fields at ":"; false when it has fewer or more. */
template <size_t N>
bool SplitFields(std::string_view line, std::string_view (&fields)[N])
{
    for (std::string_view &field : fields) {
        if (line.data() == nullptr)
            return false;
        const bool last = line.find(':') == std::string_view::npos;
        field = TakeUntil(line, ':');
        if (last)
            line = {};
    }
    return line.data() == nullptr;
}

/** What the group file says of the configured groups. The member lists are copied: g_acFile is used again. */
struct GroupTable {
    size_t count;
    char aacId[MAX_GROUP_IDS][12];
    size_t membersLength;
    char acMembers[4096]; ///< all member lists, joined with ","
};

bool ReadGroups(const AM_Context &context, GroupTable &groups)
{
    std::string_view text;
    if (!ReadFile(context.acGroupFile, text))
        return false;
    while (!text.empty()) {
        std::string_view fields[4]; // group(5): name, password, gid, members
        if (!SplitFields(TakeUntil(text, '\n'), fields) || !IsNumber(fields[2]) ||
            !ListHolds(context.acGroups, fields[0]) || groups.count == MAX_GROUP_IDS)
            continue;
        Copy(fields[2], groups.aacId[groups.count++], sizeof groups.aacId[0]);
        if (fields[3].size() + 1 < sizeof groups.acMembers - groups.membersLength) {
            memcpy(groups.acMembers + groups.membersLength, fields[3].data(), fields[3].size());
            groups.membersLength += fields[3].size();
            groups.acMembers[groups.membersLength++] = ',';
        } else {
            Log_Crit("[%s]too many members, those of %.*s are left out\n", "AM_ParsePasswordFile",
                     static_cast<int>(fields[0].size()), fields[0].data());
        }
    }
    return true;
}

bool IsCameraUser(const GroupTable &groups, std::string_view name, std::string_view gid)
{
    for (size_t i = 0; i < groups.count; ++i)
        if (gid == groups.aacId[i])
            return true;
    return ListHolds({groups.acMembers, groups.membersLength}, name);
}

} // namespace

int AM_ParseConfigFile(AM_Context *ptContext)
{
    Copy(DEFAULT_GROUPS, ptContext->acGroups, sizeof ptContext->acGroups);
    std::string_view text;
    if (!ReadFile(ptContext->acConfigFile, text))
        return -1;
    while (!text.empty()) {
        std::string_view line = TakeUntil(text, '\n');
        std::string_view value = Trim(TakeUntil(line, '#'));
        if (value.empty())
            continue;
        const bool hasValue = value.find('=') != std::string_view::npos;
        const std::string_view name = Trim(TakeUntil(value, '='));
        if (!hasValue || name.empty())
            return -1;
        if (name == "groups" && !Copy(Trim(value), ptContext->acGroups, sizeof ptContext->acGroups))
            return -1;
    }
    return 0;
}

int AM_ParsePasswordFile(AM_Context *ptContext)
{
    GroupTable groups = {};
    std::string_view text;
    if (!ReadGroups(*ptContext, groups) || !ReadFile(ptContext->acPasswordFile, text))
        return -1;

    const int32_t iOther = 1 - ptContext->iCurrentList;
    AM_UserList &list = ptContext->atLists[iOther];
    list.ptFirst = nullptr;
    list.iCount = 0;
    AM_User *ptLast = nullptr;
    while (!text.empty() && static_cast<size_t>(list.iCount) < AM_MAX_USERS) {
        std::string_view fields[7]; // passwd(5): name, password, uid, gid, comment, home, shell
        AM_User &user = list.atUsers[list.iCount];
        if (!SplitFields(TakeUntil(text, '\n'), fields) || fields[0].empty() || !IsNumber(fields[2]) ||
            !IsNumber(fields[3]) || !IsCameraUser(groups, fields[0], fields[3]) ||
            !Copy(fields[0], user.acName, sizeof user.acName))
            continue;
        Copy(fields[2], user.acIndex, sizeof user.acIndex);
        user.ptNext = nullptr;
        (ptLast != nullptr ? ptLast->ptNext : list.ptFirst) = &user;
        ptLast = &user;
        list.iCount++;
    }
    ptContext->iCurrentList = iOther;
    return 0;
}

int32_t AM_UserCount(const AM_Context *ptContext)
{
    return ptContext->atLists[ptContext->iCurrentList].iCount;
}

const AM_User *AM_FirstUser(const AM_Context *ptContext)
{
    return ptContext->atLists[ptContext->iCurrentList].ptFirst;
}
