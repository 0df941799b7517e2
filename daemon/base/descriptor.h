#pragma once

/**
 * Opens the null device where a standard stream is closed, so that no socket gets the number of one and with it
 * what this process and the programs that it runs print.
 */
void Descriptor_OpenStandardStreams();

/**
 * Makes every descriptor beyond the standard streams that this process was started with close-on-exec, so that no
 * program it runs inherits what a careless parent left open.
 */
void Descriptor_CloseInheritedOnExec();
