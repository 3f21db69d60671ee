#pragma once
#include <qzm/resource/ResMgr.h>

namespace QZM::internal {

/// The loaders a new manager registers, indexed by the built-in type numbers.
extern const QZMResMgr::Loader builtInLoaders[];
extern const unsigned builtInLoaderCount;

} // namespace QZM::internal
