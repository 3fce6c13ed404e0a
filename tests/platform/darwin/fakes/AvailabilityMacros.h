#pragma once

// Stands in for the target's header: see sys/sysctl.h beside it. The oldest system to run on is the build's choice.

#define MAC_OS_X_VERSION_MIN_REQUIRED FAKE_FLOOR
