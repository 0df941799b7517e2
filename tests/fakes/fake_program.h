#pragma once

#include "tests/fakes/temp_root.h"

#include <fstream>
#include <vector>

/**
 * A program of the camera that the daemon runs through the shell: a script that writes down each run and exits with
 * a chosen status.
 *
 * What it does not do: act on what it is asked, or look at anything but its arguments, QUERY_STRING, descriptors
 * and ignored signals.
 */
class FakeProgram
{
  public:
    /** Puts the script at the program's fixed path, below the root. */
    FakeProgram(const TempRoot &root, const std::string &fixedPath) : script_(root.path(fixedPath))
    {
        exitWith(0);
        // Another process lists the shell's descriptors, so that none of the listing's own is among them; the one
        // that the shell reads this script from is left out.
        root.write(fixedPath, "#!/bin/sh\n"
                              "sh -c \"ls -l /proc/$$/fd >$0.list\"\n"
                              "held=$(sed -n \"\\\\|$0|d; s|.* \\\\([0-9]*\\\\) -> .*|\\\\1|p\" $0.list)\n"
                              "ignored=$(sed -n 's/^SigIgn:\t//p' /proc/$$/status)\n"
                              "{ echo \"$*\"; echo \"$QUERY_STRING\"; echo $held; echo $ignored; } >>$0.log\n"
                              "exit $(cat $0.status)\n");
        std::filesystem::permissions(script_, std::filesystem::perms::owner_all);
    }

    /** Later runs exit with this status. */
    void exitWith(int status) const { std::ofstream(script_ + ".status") << status; }

    struct Run {
        std::string arguments;
        std::string query;       ///< QUERY_STRING
        std::string descriptors; ///< the open ones, "0 1 2"
        std::string ignored;     ///< the mask of ignored signals in hexadecimal, as proc(5) gives it
    };
    /** Every run so far, in order. */
    [[nodiscard]] std::vector<Run> runs() const
    {
        std::vector<Run> runs;
        std::ifstream log(script_ + ".log");
        for (Run run; std::getline(log, run.arguments) && std::getline(log, run.query) &&
                      std::getline(log, run.descriptors) && std::getline(log, run.ignored);)
            runs.push_back(run);
        return runs;
    }

  private:
    std::string script_;
};
