#pragma once

/// Settings from "demo.cfg" and the command line, two languages built from text sources,
/// and the high-score table "demo.scores", all in the working directory; false on a failure.
bool RunDataDemo(int argc, char** argv);
