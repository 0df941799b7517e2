#pragma once

#include <cstdint>

/** Turns the first `iCount` bytes of the text to upper case in place; nothing for a count below 1. Returns 0. */
int NetUtility_ToUpper(char *pcText, int32_t iCount);
