/*
 * Preloaded into the daemon by a test: counts every call of the malloc family in a file that both have mapped. It
 * changes nothing about the allocations.
 */
#define _GNU_SOURCE
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

/* Takes the counts until the file is mapped; nobody asks for those. */
static _Atomic uint64_t g_early;
static _Atomic uint64_t *g_counter = &g_early;

__attribute__((constructor)) static void MapCounter(void)
{
    const char *path = getenv("KELPA_TEST_ALLOCATIONS");
    const int file = path != NULL ? open(path, O_RDWR | O_CLOEXEC) : -1;
    void *page = mmap(NULL, sizeof *g_counter, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (page != MAP_FAILED)
        g_counter = page;
    close(file);
}

void *malloc(size_t size)
{
    ++*g_counter;
    return __libc_malloc(size);
}

void *calloc(size_t count, size_t size)
{
    ++*g_counter;
    return __libc_calloc(count, size);
}

void *realloc(void *block, size_t size)
{
    ++*g_counter;
    return __libc_realloc(block, size);
}

void *memalign(size_t alignment, size_t size)
{
    ++*g_counter;
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
