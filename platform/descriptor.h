#pragma once

/**
 * Makes every descriptor beyond the standard streams that this process was started with close-on-exec, so that no
 * program it runs inherits what a careless parent left open.
 */
void Descriptor_CloseInheritedOnExec();
