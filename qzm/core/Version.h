#pragma once
#include <cstdint>

namespace QZM {

struct VersionRecord {
    uint8_t major;
    uint8_t minor;
    uint8_t patch;
};

extern const VersionRecord version;

const VersionRecord* Versionv();
/// major * 10000 + minor * 100 + patch
unsigned Versioni();
/// "major.minor.patch"
const char* Versiont();

} // namespace QZM
