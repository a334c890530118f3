#pragma once

#include "base/Bool16.h"
#include "settings/SettingsStore.h"

#include <cstdint>

namespace velmora {

// The values the classifier works with, derived from the settings.
struct Thresholds {
    double LevelP = 80;       // picture threshold: Val("LevelP") + 80
    std::int16_t LevelT = 80; // text threshold: Val("LevelT") + 80, rounded half to even
    Bool16 TextFlag = kFalse; // "TextP" reads exactly "1"
};

// Reads the three settings and derives the thresholds. A text level too large
// for a 16-bit threshold throws VbError::Overflow.
Thresholds deriveThresholds(const SettingsStore& store);

// The start-up defaults: "6" for a missing picture level, "14" for a missing
// text level, and "0" for the text switch only when the text level still reads
// empty after that (which in practice only happens when writing it failed).
void applyStartupDefaults(SettingsStore& store);

// Writes all three defaults unconditionally ("6", "14", "0"), as is done
// whenever the database is found missing.
void writeDefaultSettings(SettingsStore& store);

} // namespace velmora
