#include <qzm/core/Log.h>

#include <cstdarg>

namespace QZM {

uint32_t log_level = 100;
uint32_t log_target = 0;
FILE* log_file = stdout;

namespace {

void Emit(unsigned level, const char* fmt, va_list args) {
    if (!fmt || level == 0 || level > log_level) return;
    vfprintf(log_file, fmt, args);
    fflush(log_file);
}

} // namespace

void SetLogLevel(unsigned level) { log_level = level > 255 ? 255 : level; }

unsigned GetLogLevel() { return log_level; }

unsigned GetLogTarget() { return log_target; }

bool SetLogTarget(unsigned target, const char* path) {
    if (log_file) CloseLog();
    if (target == 1) {
        log_target = 1;
        log_file = stderr;
        return true;
    }
    if (target == 2) {
        // "wa" truncates: the C library reads only the leading "w".
        FILE* f = path ? fopen(path, "wa") : nullptr;
        if (f) {
            log_target = 2;
            log_file = f;
            return true;
        }
        log_target = 0;
        log_file = stdout;
        return false;
    }
    log_target = 0;
    log_file = stdout;
    return true;
}

void CloseLog() {
    if (log_target != 2) return;
    if (log_file == stdout || log_file == stderr)
        LOG("LOGClose: file was stdout/err and target was file !\n");
    else if (log_file)
        fclose(log_file);
    log_file = stdout;
    log_target = 0;
}

#define QZM_EMIT(level)              \
    do {                             \
        va_list args;                \
        va_start(args, fmt);         \
        Emit(level, fmt, args);      \
        va_end(args);                \
    } while (0)

void LOGL(unsigned level, const char* fmt, ...) { QZM_EMIT(level); }
void ERR(const char* fmt, ...) { QZM_EMIT(1); }
void WARN(const char* fmt, ...) { QZM_EMIT(10); }
void LOG(const char* fmt, ...) { QZM_EMIT(100); }
void DBG(const char* fmt, ...) { QZM_EMIT(200); }

#undef QZM_EMIT

} // namespace QZM
