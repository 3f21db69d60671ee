#pragma once
#include <cstdint>
#include <cstdio>

#if defined(__GNUC__)
#define QZM_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define QZM_PRINTF(fmt, args)
#endif

/// Process-wide log with a level filter and a selectable output stream.
namespace QZM {

extern uint32_t log_level;  ///< 0 silences everything; default 100
extern uint32_t log_target; ///< 0 stdout, 1 stderr, 2 a file
extern FILE* log_file;

/// Stores the level, clamped to 255.
void SetLogLevel(unsigned level);
unsigned GetLogLevel();
/// Target 0 stdout, 1 stderr, 2 the file at path (truncated); false when the file cannot be opened.
bool SetLogTarget(unsigned target, const char* path);
unsigned GetLogTarget();
/// Closes a log file, if one is the target, and falls back to stdout.
void CloseLog();

/// Prints when level != 0 and level <= log_level.
void LOGL(unsigned level, const char* fmt, ...) QZM_PRINTF(2, 3);
void ERR(const char* fmt, ...) QZM_PRINTF(1, 2);  ///< level 1
void WARN(const char* fmt, ...) QZM_PRINTF(1, 2); ///< level 10
void LOG(const char* fmt, ...) QZM_PRINTF(1, 2);  ///< level 100
void DBG(const char* fmt, ...) QZM_PRINTF(1, 2);  ///< level 200

} // namespace QZM
