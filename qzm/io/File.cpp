#include <qzm/io/File.h>

#include <qzm/core/Log.h>
#include <qzm/io/internal/Stdio.h>

using namespace QZM::internal;

namespace {

// Stored only when it changes: a byte store on every transfer stalls the next call, which
// loads mode, state and eof as one word.
inline void StoreIfChanged(uint8_t& field, bool value) {
    if (field != value) field = value;
}

} // namespace

QZMFile::QZMFile(const char* name, unsigned mode) : file(nullptr) { Open(name, mode); }

QZMFile::~QZMFile() { Close(); }

bool QZMFile::Open(const char* name, unsigned mode) {
    if (!name || !*name) return false;
    // Copied before Close(), which frees this->name: the caller may pass it to reopen.
    char* copy = QZMString::StringCopy(name);
    Close();
    state = ST_OK;
    this->name = copy;
    this->mode = mode & 3;

    const char* how;
    switch (this->mode) {
    case READ: how = "r"; break;
    case WRITE: how = (mode & APPEND) ? "a" : "w"; break;
    case READWRITE: how = (mode & APPEND) ? "a+" : (mode & TRUNC) ? "w+" : "r+"; break;
    default:
        state = ST_BAD_MODE;
        QZM::DBG("File: bad open mode (%s)\n", copy);
        return false;
    }

    if ((mode & WRITE) && (mode & CREATE)) {
        if (FILE* existing = fopen(copy, "r")) {
            fclose(existing);
            state = ST_OPEN_ERROR;
            QZM::DBG("File: open error: file already exists (CREATE) %s\n", copy);
            return false;
        }
    }

    file = fopen(copy, how);
    // A read/write open creates a missing file.
    if (!file && this->mode == READWRITE && how[0] == 'r') file = fopen(copy, "w+");
    if (!file) {
        state = ST_OPEN_ERROR;
        QZM::DBG("File: Can not open %s in mode '%s'\n", copy, how);
        return false;
    }
    eof = AtEof(file);
    return true;
}

void QZMFile::Close() {
    QZMResFile::Close();
    if (file) fclose(file);
    file = nullptr;
}

// Without a handle the field answers, so that a closed stream reports the end like the others.
bool QZMFile::Eof() const { return file ? AtEof(file) : eof == 1; }

bool QZMFile::Seek(int offset, int whence) {
    if (!file) return false;
    clearerr(file);
    state = fseek(file, offset, whence) == 0 ? ST_OK : ST_SEEK_ERROR;
    eof = AtEof(file);
    return state == ST_OK;
}

bool QZMFile::SeekStart() { return Seek(0, SEEK_SET); }

bool QZMFile::SeekEnd() { return Seek(0, SEEK_END); }

int32_t QZMFile::GetPos() const { return file ? static_cast<int32_t>(ftell(file)) : 0; }

void QZMFile::Flush() {
    if (file) fflush(file);
}

unsigned QZMFile::GetLine(char* buf, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || eof || !size || !buf || !file) return 0;

    const int stop = static_cast<unsigned char>(delim);
    unsigned n = 0;
    bool gotByte = false; // false also when size 1 leaves nothing to read
    while (n < size - 1) {
        int c = GetByte(file);
        gotByte = c != EOF;
        if (!gotByte || c == stop) break;
        buf[n++] = static_cast<char>(c);
    }
    eof = AtEof(file);

    if (n == 0 && !gotByte) return 0;
    if (n > 0 && delim == '\n' && buf[n - 1] == '\r') n--;
    buf[n] = 0;
    return n + 1;
}

unsigned QZMFile::GetLine(QZMString& line, unsigned size, char delim) {
    if (!(mode & READ) || state != ST_OK || !size || eof || !file) return 0;
    unsigned count = ReadLine([this] { return GetByte(file); }, line, size, delim);
    eof = AtEof(file);
    return count;
}

unsigned QZMFile::Read(void* buf, unsigned size) {
    if (!(mode & READ) || state != ST_OK || !buf || !size || !file) return 0;
    unsigned n = static_cast<unsigned>(ReadBytes(buf, size, file));
    if (n < size) state = ST_READ_AT_END;
    StoreIfChanged(eof, AtEof(file));
    return n;
}

unsigned QZMFile::Write(const void* buf, unsigned size) {
    if (!(mode & WRITE) || state != ST_OK || !buf || !size || !file) return 0;
    unsigned n = static_cast<unsigned>(WriteBytes(buf, size, file));
    if (n < size) state = ST_WRITE_AT_END;
    StoreIfChanged(eof, AtEof(file));
    return n;
}

void QZMFile::PrintInfo() const {
    QZM::LOG("File info : %s\nFILE* : %p\nMode  : %d (", name ? name : "(null)",
             static_cast<void*>(file), mode);
    QZM::LOG("%s)\nState : %d (", ModeText(mode), state);
    QZM::LOG("%s)\nEOF   : %s\n", StateText(state), eof ? "yes" : "no");
}
