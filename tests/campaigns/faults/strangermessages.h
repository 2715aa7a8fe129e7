/** Random messages of another process for the library's hidden window. */
#pragma once

#include <windows.h>

#include <string>

/**
 * Starts this program a second time, as the stranger to this process, and waits for its end. Empty,
 * or what went wrong. `seed` repeats the messages.
 */
std::string LetAStrangerSend(unsigned seed);

/**
 * The stranger: sends and posts messages to the hidden window of a process; none that is to end it.
 * The program's exit code, 0 when all were sent.
 */
int SendAsAStranger(DWORD processId, unsigned seed);
