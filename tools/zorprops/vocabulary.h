#pragma once

// The words of the report: every property and every fact of this host, with its type, unit and meaning, in the groups
// and order that a reader expects.

#include <string>
#include <vector>

namespace zorprops {

/** The library's collector that tells a property. */
enum class Source { System, Processor, Memory, Network, Users, Disks };
constexpr Source kSources[] = {Source::System,  Source::Processor, Source::Memory,
                               Source::Network, Source::Users,     Source::Disks};

enum class Type { Text, Integer, Decimal, Boolean, Time };

enum Trait : unsigned int {
    Fixed = 1,    // a text of the agent's contract, the same on every system
    Always = 2,   // every machine has it: without a value it could not be read
    Restless = 4, // different with every look: no change of the machine
    AtOnce = 8,   // its collector asks nobody who may not answer
    Prompt = 16,  // its collector may wait, but not for this one
};

struct Word {
    const char *name;
    Source source;
    Type type;
    const char *unit; // empty: none
    const char *meaning;
    unsigned int traits;
    bool has(Trait trait) const { return (traits & trait) != 0; }
};

/** The properties that the agent reports, by group; no name twice. */
const std::vector<Word> &properties();
/** What zorprops adds about this host. */
const std::vector<Word> &hostFacts();
constexpr const char *kHostPrefix = "host."; // get asks for a fact of this host by this and its name

const char *titleOf(Source source);
const char *nameOf(Type type);

/** The property of this name, whatever its letter case; null when there is none. */
const Word *findProperty(const std::string &name);
/** The fact of this host of this name, without the prefix. */
const Word *findHostFact(const std::string &name);

/** Whether two texts are the same but for the case of ASCII letters. */
bool equalIgnoringCase(const std::string &one, const std::string &other);

/** The names most like the given one, the nearest first; at most three. */
std::vector<std::string> nearestNames(const std::string &name);

/** How many characters have to be put in, taken out or replaced to make one text of the other, whatever their case. */
size_t editDistance(const std::string &one, const std::string &other);

} // namespace zorprops
