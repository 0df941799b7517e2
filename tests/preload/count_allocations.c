/*
 * Preloaded into the daemon by a test: counts every call of the malloc family in a file that both have mapped. It
 * changes nothing about the allocations.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdatomic.h>
#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

extern void *__libc_malloc(size_t size);
extern void *__libc_calloc(size_t count, size_t size);
extern void *__libc_realloc(void *block, size_t size);
extern void *__libc_memalign(size_t alignment, size_t size);

static _Atomic uint64_t *g_counter;
static _Atomic uint64_t g_early; /* calls before the file is mapped */

static void Count(void)
{
    atomic_fetch_add(g_counter != NULL ? g_counter : &g_early, 1);
}

__attribute__((constructor)) static void MapCounter(void)
{
    const char *path = getenv("KELPA_TEST_ALLOCATIONS");
    const int file = path != NULL ? open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0)
        return;
    void *page = mmap(NULL, sizeof *g_counter, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    if (page == MAP_FAILED)
        return;
    g_counter = page;
    atomic_fetch_add(g_counter, atomic_load(&g_early));
}

void *malloc(size_t size)
{
    Count();
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    Count();
    return __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    Count();
    return __libc_realloc(block, size);
}

void *memalign(size_t alignment, size_t size)
{
    Count();
    return __libc_memalign(alignment, size);
}

void *aligned_alloc(size_t alignment, size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void **block, size_t alignment, size_t size)
{
    *block = memalign(alignment, size);
    return *block != NULL ? 0 : ENOMEM;
}
