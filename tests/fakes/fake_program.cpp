#include "tests/fakes/fake_program.h"

#include <filesystem>
#include <fstream>
#include <sstream>

FakeProgram::FakeProgram(const TempRoot &root, const std::string &fixedPath)
    : m_script(root.Path(fixedPath)), m_log(m_script + ".log"), m_status(m_script + ".status")
{
    namespace fs = std::filesystem;
    fs::create_directories(fs::path(m_script).parent_path());
    ExitWith(0);
    // Another process lists the shell's descriptors, so that none of the listing's own is among them; the one that
    // the shell reads this script from is left out.
    const std::string list = m_script + ".list";
    std::ofstream(m_script) << "#!/bin/sh\n"
                            << "sh -c \"ls -l /proc/$$/fd >" << list << "\"\n"
                            << "held=$(sed -n '\\|" << m_script << "|d; s|.* \\([0-9]*\\) -> .*|\\1|p' " << list
                            << ")\n"
                            << "{ echo \"$*\"; echo \"$QUERY_STRING\"; echo $held; } >>" << m_log << "\n"
                            << "exit $(cat " << m_status << ")\n";
    fs::permissions(m_script, fs::perms::owner_all);
}

void FakeProgram::ExitWith(int status) const
{
    std::ofstream(m_status) << status;
}

std::vector<FakeProgram::Run> FakeProgram::Runs() const
{
    std::vector<Run> runs;
    std::ifstream log(m_log);
    for (Run run;
         std::getline(log, run.arguments) && std::getline(log, run.query) && std::getline(log, run.descriptors);)
        runs.push_back(run);
    return runs;
}
