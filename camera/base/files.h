#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

namespace camera
{

/** Reads a whole file; throws std::system_error. */
[[nodiscard]] std::string readFile(const std::string &path);

/**
 * Puts `text` in the place of a file: readers see the old or the new text, never a part, whenever the machine
 * stops. Throws std::system_error, with the old file as it was.
 */
void replaceFile(const std::string &path, std::string_view text, mode_t mode);

/** The folder of the program that is running, as an absolute path. */
[[nodiscard]] std::string programFolder();

} // namespace camera
