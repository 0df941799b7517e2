#include "bench/daemon_run.h"

#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

void layOutCamera(const fs::path &root)
{
    for (const char *folder : {"tmp", "etc", "var/run/eventmgr"})
        fs::create_directories(root / folder);
    std::ofstream(root / "etc/accountmgr.conf") << "groups=admin,operator,view\n";
    std::ofstream(root / "etc/group") << "admin:x:500:\noperator:x:501:\nview:x:502:\n";
    std::ofstream(root / "etc/passwd") << "admin:x:1000:500::/:/bin/false\n";
    setenv("KELPA_ROOT", root.c_str(), 1);
}

ChildProcess startDaemon(Exchange &exchange, const std::string &path, const fs::path &folder, int cpu,
                         const std::string &output)
{
    fs::create_directory(folder);
    ChildProcess kelpa({path, folder / "kelpa", folder / "pid"},
                       {.outputFile = output, .errorFile = "", .processor = cpu});
    exchange.serveStart();
    return kelpa;
}
