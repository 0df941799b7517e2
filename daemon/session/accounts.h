#pragma once

/** Fills the process's account context and reads the accounts. Returns 0; -1 (Start_Fail) without a configuration.
 */
[[nodiscard]] int KelpaFdServer_InitAccountManager();

/** Reads the password file again; when it cannot be read, the accounts stay as they are. */
void KelpaFdServer_ReloadPassword();
