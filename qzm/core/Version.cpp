#include <qzm/core/Version.h>

namespace QZM {

const VersionRecord version = {0, 20, 0};

const VersionRecord* Versionv() { return &version; }

unsigned Versioni() { return version.major * 10000u + version.minor * 100u + version.patch; }

const char* Versiont() { return "0.20.0"; }

} // namespace QZM
