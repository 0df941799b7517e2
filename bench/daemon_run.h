#pragma once

#include "bench/exchange.h"
#include "tests/fakes/child_process.h"

#include <filesystem>
#include <string>

/** Lays out the part of a camera's file system that the daemon needs, and points KELPA_ROOT to it. */
void layOutCamera(const std::filesystem::path &root);

/** Starts the daemon at `path` on a processor (-1: any), with its hand-over socket at `folder`/kelpa. */
[[nodiscard]] ChildProcess startDaemon(Exchange &exchange, const std::string &path,
                                       const std::filesystem::path &folder, int cpu, const std::string &output);
