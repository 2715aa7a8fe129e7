/** Which Windows this is. Work thread only. */
#pragma once

/** True on a 64-bit Windows 10 workstation; later versions of Windows report that number too. */
bool IsSupportedOS();

/** True when the operating system itself is 64-bit. Found out once. */
bool IsX64OS();
