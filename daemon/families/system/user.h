#pragma once

#include "daemon/session/session.h"

/* "/config/user_mod.cgi" and "/config/user_del.cgi": accounts, changed by the camera's account program. */

struct ModifyUserParam {
    char acUserName[65];
    char acPassword[65]; ///< decoded, at most 63 bytes
    char acPrivilege[16];
};

struct DeleteUserParam {
    char acUserNameSet[1300]; ///< the names, each followed by ","
};

[[nodiscard]] int Parser_ModifyUser_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_ModifyUser(SessionSlot &slot);
[[nodiscard]] int Parser_DeleteUser_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_DeleteUser(SessionSlot &slot);
