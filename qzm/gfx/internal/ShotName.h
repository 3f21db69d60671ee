#pragma once
#include <memory>

namespace QZM::internal {

/// The first of prefix + "000.bmp", "001.bmp" .. "998.bmp" that does not exist yet, or null
/// when all exist (the series stops short of 999, as designed) or memory runs out.
std::unique_ptr<char[]> FreeShotName(const char* prefix);

} // namespace QZM::internal
