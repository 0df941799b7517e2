#pragma once

#include "tests/fakes/temp_root.h"

#include <string>
#include <vector>

/**
 * A program of the camera that the daemon runs through the shell: a script that writes down each run and exits with
 * a chosen status.
 *
 * What it does not do: act on what it is asked, or look at anything but its arguments, QUERY_STRING and
 * descriptors.
 */
class FakeProgram
{
  public:
    /** Puts the script at the program's fixed path, below the root. */
    FakeProgram(const TempRoot &root, const std::string &fixedPath);

    /** Later runs exit with this status. */
    void ExitWith(int status) const;

    struct Run {
        std::string arguments;
        std::string query;       ///< QUERY_STRING
        std::string descriptors; ///< the open ones, "0 1 2"
    };
    /** Every run so far, in order. */
    [[nodiscard]] std::vector<Run> Runs() const;

  private:
    std::string m_script;
    std::string m_log;
    std::string m_status;
};
