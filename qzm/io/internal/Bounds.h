#pragma once
#include <cstdint>

class QZMResFile;

namespace QZM::internal {

/// Bytes between the stream's position and its end; the position is restored.
/// A stream whose size cannot be measured reports 0.
uint32_t RemainingBytes(QZMResFile& file);

/// Allocations up to this size are always attempted, whatever the stream holds.
constexpr uint64_t kPlausibleBytes = uint64_t(64) << 20;

/// False only for an absurd allocation: over 64 MiB and more than the rest of the stream could
/// fill when each of its bytes yields at most `bytesPerStreamByte` bytes (the format's densest
/// encoding). Anything smaller is allocated and a short file then gives its short-read result.
/// The stream is measured only for requests over 64 MiB.
bool PlausibleAllocation(QZMResFile& file, uint64_t bytes, uint64_t bytesPerStreamByte = 1);

} // namespace QZM::internal
