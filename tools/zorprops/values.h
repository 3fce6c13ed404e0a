#pragma once

// What a contract's text means: a number, yes or no, or that it is not known.

#include "vocabulary.h"

#include <string>

namespace zorprops {

/** A value with its kind; numbers in decimal digits, as the text that they came from. */
struct Value {
    enum Kind { Unknown, Text, Number, Boolean } kind = Unknown;
    std::string text = {};
};

/** Reads the text that the library gives for a property. "N/A", "NA" for nobody, an empty text, -1 for 'cannot be told'
 * and a clock of 0 MHz are Unknown, and so is what does not have the property's form. */
Value valueOf(const Word &word, const std::string &text);

/** A time of the contract, month/day/year hour:minute:second, in the order of ISO 8601; empty when it is none. */
std::string isoTime(const std::string &text);

} // namespace zorprops
