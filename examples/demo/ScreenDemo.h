#pragma once
#include <string>

/// Shows the scene that RunSceneDemo saved: on a true-colour screen, then on an 8-bit screen
/// that fades out and back in, and takes a numbered screenshot. Headless (SDL's dummy video
/// driver) unless window is true. True when every step worked.
bool RunScreenDemo(bool window);

/// The name that the next numbered screenshot with this prefix will get.
std::string NextShotName(const char* prefix);
