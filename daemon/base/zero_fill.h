#pragma once

#include <cstddef>

/**
 * Fills memory with zeroes, but writes only to blocks that are not zero already. Memory that nobody has used since
 * it came from the system is not made resident by clearing it.
 */
void ZeroFill(void *pvMemory, size_t size);
