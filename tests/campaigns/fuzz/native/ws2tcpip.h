/** See winsock2.h. */
#pragma once
