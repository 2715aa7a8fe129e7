/** The message loop of a thread. */
#pragma once

#include <windows.h>

/** False for the frequent messages (mouse moves, paints, the caret's timer) that start no idle
 * time. */
bool BeginsIdleTime(UINT message);

/** Takes and dispatches the calling thread's messages until WM_QUIT. */
void RunMessageLoop();
