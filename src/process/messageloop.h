/** The message loop of a thread. */
#pragma once

#include <windows.h>

/** False for messages that come so often, and mean so little, that they begin no new idle time. */
bool BeginsIdleTime(UINT message);

/** Takes and dispatches the calling thread's messages until WM_QUIT. */
void RunMessageLoop();
