#include "daemon/families/system/user.h"

#include "daemon/base/base64.h"
#include "daemon/base/program.h"
#include "daemon/base/text_builder.h"
#include "daemon/base/text_finder.h"
#include "daemon/request/request_text.h"
#include "daemon/session/accounts.h"
#include "daemon/session/globals.h"
#include "platform/log.h"

#include <cstdlib>
#include <cstring>

namespace
{

constexpr char ACCOUNT_PROGRAM[] = "/usr/share/www/cgi-bin/admin/editaccount.cgi";
constexpr std::string_view ADMIN = "admin";
constexpr std::string_view PRIVILEGES[] = {"operator", "view", "admin"};
constexpr size_t MAX_ENCODED_PASSWORD = 127;
constexpr size_t PASSWORD_ROOM = 64;
constexpr int32_t MAX_USERS = 20;
constexpr int32_t NEW_USER = -1;
constexpr int MAX_DELETIONS = 5;

bool IsPrivilege(std::string_view word)
{
    for (const std::string_view privilege : PRIVILEGES)
        if (privilege == word)
            return true;
    return false;
}

bool TakeUser(std::string_view text, ModifyUserParam &param)
{
    char acEncoded[MAX_ENCODED_PASSWORD + 1];
    if (GetStringValueFromText(text, "name=", param.acUserName) != 0 ||
        GetStringValueFromText(text, "password=", acEncoded) != 0 ||
        GetStringValueFromText(text, "group=", param.acPrivilege) != 0)
        return false;
    // KEPT: the result is not looked at; a text that is too long leaves the password as it was, empty.
    (void)Base64_Decode(acEncoded, std::span(param.acPassword).first(PASSWORD_ROOM));
    return IsPrivilege(param.acPrivilege) && (param.acUserName != ADMIN || param.acPrivilege == ADMIN);
}

/** The user's index, or NEW_USER. */
int32_t FindUser(const char *pcName)
{
    for (const AM_User *ptUser = AM_FirstUser(&g_tServerGlobals.tAccountContext); ptUser != nullptr;
         ptUser = ptUser->ptNext)
        if (strcmp(ptUser->acName, pcName) == 0)
            return Text_ToInt(ptUser->acIndex) % 100;
    return NEW_USER;
}

/** Runs the account program with a query and sets the mapping result. Returns 0 or -1. */
int Set_Account_Parameter(SessionSlot &slot, const TextBuilder &query)
{
    Trace("acQueryString=%s\n", query.Text());
    if (Program_Run(ACCOUNT_PROGRAM, "", query.Text()) != 0) {
        Log_Crit("[%s]Call system() fail\n", __func__);
        return Session_Fail(slot, StatusKind::InternalError);
    }
    return Session_Succeed(slot);
}

/** Takes the next name off a list in which each is followed by ","; false when there is none. */
bool TakeName(std::string_view &list, std::string_view &name)
{
    const size_t end = list.find(',');
    if (end == std::string_view::npos)
        return false;
    name = {list.data(), end};
    list.remove_prefix(end + 1);
    return true;
}

} // namespace

int Parser_ModifyUser_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::ModifyUser, __func__, text) != 0)
        return -1;
    if (!TakeUser(text, Session_Param<ModifyUserParam>(slot)))
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_ModifyUser(SessionSlot &slot)
{
    const auto &param = Session_Param<ModifyUserParam>(slot);
    // KEPT: the count is that of before the reload.
    const int32_t iCount = AM_UserCount(&g_tServerGlobals.tAccountContext);
    KelpaFdServer_ReloadPassword();
    const int32_t iUserIndex = FindUser(param.acUserName);
    Trace("iUserIndex=%d, User number=%d\n", iUserIndex, iCount);
    if (iCount >= MAX_USERS && iUserIndex == NEW_USER)
        return Session_Refuse(slot, StatusKind::ServiceUnavailable);

    TextBuffer<256> query;
    query.Add(iUserIndex == NEW_USER ? "method=add&" : "method=edit&");
    query.Addf("username=%s&userpass=%s&privilege=%s", param.acUserName, param.acPassword, param.acPrivilege);
    return Set_Account_Parameter(slot, query);
}

int Parser_DeleteUser_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::DeleteUser, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<DeleteUserParam>(slot);
    // One character less than the field: a "," has to follow the last name.
    if (GetStringValueFromText(text,
                               "name=", std::span(param.acUserNameSet).first(sizeof param.acUserNameSet - 1)) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    param.acUserNameSet[strlen(param.acUserNameSet)] = ',';
    Trace("ptDeleteUserInfoResult->acUserNameSet=%s\r\n", param.acUserNameSet);
    return Session_Accept(slot);
}

int MappingSetRoutine_DeleteUser(SessionSlot &slot)
{
    std::string_view list = Session_Param<DeleteUserParam>(slot).acUserNameSet;
    std::string_view name;
    for (int i = 0; i < MAX_DELETIONS && TakeName(list, name);) {
        if (name.empty())
            continue;
        if (name == ADMIN)
            return Session_Refuse(slot, StatusKind::BadRequest);
        TextBuffer<128> query; // KEPT: the query has 127 characters at most, a longer name is cut
        query.Add("method=delete&username=");
        query.Add(name);
        if (Set_Account_Parameter(slot, query) != 0)
            return -1;
        ++i;
    }
    return Session_Succeed(slot);
}
