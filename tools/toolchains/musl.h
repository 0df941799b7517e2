#pragma once

/*
 * Included before everything else when Debian's g++ compiles for musl: its C++ headers were configured for glibc,
 * and take for granted what glibc alone has.
 */
#define __GLIBC_PREREQ(major, minor) 0
#define __locale_t locale_t
#include <bits/c++config.h>
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
