/** @file
 * The whole library: the three C99 headers, then, for C++, the rest. */
#pragma once

#include "lists_locks.h"
#include "portability.h"
#include "utilities.h"

#ifdef __cplusplus
#include "configuration.h"
#include "network.h"
#include "session.h"
#include "sysprops.h"
#endif
