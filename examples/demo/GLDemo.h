#pragma once

/// Shows the scene that RunSceneDemo saved as an OpenGL texture, writes text over it in the
/// OpenGL font read from the demo's font file, and takes a numbered screenshot. Needs an X
/// display with OpenGL. True when every step worked.
bool RunGLDemo();
