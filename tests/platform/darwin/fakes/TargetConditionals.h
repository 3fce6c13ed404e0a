#pragma once

// Stands in for the target's header: see sys/sysctl.h beside it. The processor is the build's choice.

#define TARGET_CPU_ARM64 FAKE_ARM64
