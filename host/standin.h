/** The stand-in for AMD's monitoring library, on PCs without it. */
#pragma once

#include <string>

/** Under which name the worker library imports AMD's library. */
inline constexpr wchar_t kPlatformFile[] = L"Platform.dll";

/** The stand-in's place, seen from the folder of the program. */
inline constexpr wchar_t kStandInFile[] = L"platform-standin\\Platform.dll";

/**
 * Loads the stand-in of this program, so that a library that imports Platform.dll finds it in the
 * process. Does nothing if there is a Platform.dll in `libraryFolder`, beside the program or in the
 * system folder, broken or not, and nothing if there is no stand-in.
 */
void LoadStandInIfNeeded(const std::wstring& libraryFolder);

/** What to do about a Platform.dll that cannot be loaded: to put behind that error. */
std::wstring StandInHint(const std::wstring& libraryFolder);

/** Whether the Platform.dll of this process is the stand-in, wherever it was loaded from. */
bool IsStandInLoaded();
