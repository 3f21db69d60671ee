#pragma once

/// Plays the demo's music with sound effects over it through the mixer. Headless, SDL's disk
/// audio driver captures the mix, which is written as demo.wav; with window true the sound
/// card plays it, and a machine without one only gets a message. True unless a step failed.
bool RunSoundDemo(bool window);
