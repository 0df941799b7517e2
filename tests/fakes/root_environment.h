#pragma once

#include "platform/path.h"
#include "tests/fakes/temp_root.h"

#include <csignal>
#include <cstdlib>

/**
 * A camera's folder that this process itself uses: KELPA_ROOT is set as long as the object lives. SIGPIPE is
 * ignored from then on, as in the daemon.
 */
class RootEnvironment : public TempRoot
{
  public:
    RootEnvironment()
    {
        setenv(PATH_ROOT_VARIABLE, Path().c_str(), 1);
        signal(SIGPIPE, SIG_IGN);
    }
    ~RootEnvironment() { unsetenv(PATH_ROOT_VARIABLE); }
};
