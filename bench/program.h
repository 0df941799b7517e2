#pragma once

#include "tests/fakes/child_process.h"

#include <chrono>
#include <string>

/* What is measured of a program, and done with it meanwhile. All failures throw. */

/* A program that is held takes no processor time. */
void hold(const ChildProcess &program);
void resume(const ChildProcess &program);

/** The processor time that all its threads have taken so far, at the kernel's full resolution. */
[[nodiscard]] std::chrono::nanoseconds cpuTime(const ChildProcess &program);
/** A number out of /proc/<pid>/status, by its name, such as "VmHWM" (in kB). */
[[nodiscard]] long statusOf(const ChildProcess &program, const std::string &name);
