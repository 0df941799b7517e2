#pragma once

/** Writes the process's pid into the file, mode 0644. A file that cannot be opened is logged and done without. */
void StashPid(const char *pcPath);

/** Removes the file, but only while it holds this process's pid: a newer instance's file is left alone. */
void RemovePid(const char *pcPath);
