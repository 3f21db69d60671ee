#pragma once

/// Builds a bitmap font and a sprite, loads them back through the resource manager, renders a
/// scene with them and saves it as a BMP file; true when every step worked.
bool RunSceneDemo();
