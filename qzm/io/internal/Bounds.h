#pragma once
#include <cstdint>

class QZMResFile;

namespace QZM::internal {

/// Bytes between the stream's position and its end; the position is restored.
/// A stream whose size cannot be measured reports 0.
uint32_t RemainingBytes(QZMResFile& file);

/// True when count records of unitSize bytes each can still come from the stream:
/// sizes read from a file are checked with this before anything is allocated for them.
bool FitsInStream(QZMResFile& file, uint32_t count, uint32_t unitSize);

} // namespace QZM::internal
