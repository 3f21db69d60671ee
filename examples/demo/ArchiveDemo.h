#pragma once

class QZMText;

/// Packs the demo's generated data into an archive and loads it back through a resource finder
/// and manager; true when the table read back matches.
bool RunArchiveDemo(const QZMText& table);
