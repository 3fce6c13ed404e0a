#pragma once

// Stands between the code under test and the system: counts its allocations and its calls into the system's libraries,
// makes those fail that a plan names, and gives fixed answers about the machine. Linked into the test program, or
// preloaded into another (preload.cpp): both come before the system's libraries, so that the library's calls arrive
// here.

#include <cstddef>
#include <cstdint>

namespace zor::torture {

enum class Fault : int32_t {
    None,
    Allocation,      // the nth allocation
    AllocationsFrom, // the nth allocation and all later ones
    Call,            // the nth call, in one of the ways in which it may fail
    CallsFrom        // the nth call, and all later ones of the same function
};

struct Plan {
    Fault fault = Fault::None;
    int32_t nth = 0;     // from 1
    int32_t variant = 0; // of the ways in which the call may fail, from 0
};

/** What a run with a plan met; kept in memory that a forked child shares. */
struct Record {
    int32_t counted;  // allocations or calls while armed
    int32_t hit;      // whether something was made to fail
    int32_t variants; // ways in which the nth call may fail
    int32_t error;    // with which it failed
    char name[40];    // the function that failed; empty: none
    int32_t depth;
    void *stack[24]; // of the failure, when asked for
};

/** Sets the plan and starts to count from 0. Both stay until the next one; record must outlive them. */
void setPlan(const Plan &plan, Record *record, bool wantsStack);
/** Faults happen while armed, in any thread. */
void arm();
void disarm();
bool isArmed();
/** Allocations that are not freed yet. */
int64_t liveAllocations();

/** The names of calls.def, null at the end: what is made to fail, and what is not. */
extern const char *const kFaultyCalls[];
extern const char *const kWholeCalls[];

/** Answers with a fixed machine instead of this one's, from files in a folder; see machine.cpp. */
void setMachine(const char *folder);
/** Called before each call of an interposed function: the function to call instead, or null. arguments may be changed.
 */
void *machineAnswer(const char *name, uint64_t *arguments);
/** The system's own function. */
void *systemFunction(const char *name);

} // namespace zor::torture
