#pragma once

/** Marks what the shared library exports; everything else in it is hidden. */
#define ZORCOMN_API __attribute__((visibility("default")))
