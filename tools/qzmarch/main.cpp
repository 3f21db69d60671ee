// qzmarch: packs game data into QZM or Quake PAK archives from the command line.
// Every command checks all it can before the archive is touched. Files that cannot be packed
// and members that cannot be extracted are reported one by one and skipped; the exit status
// then says that something was left out.

#include <qzm/archive/ArchPAK.h>
#include <qzm/archive/ArchQZM.h>
#include <qzm/archive/Archive.h>
#include <qzm/core/Version.h>
#include <qzm/io/FileUtils.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

const char kUsage[] =
    "Usage: qzmarch COMMAND ARCHIVE [ARGUMENTS]\n"
    "Packs game data into QZM archives (or Quake PAK archives) and takes it out again.\n"
    "\n"
    "Commands:\n"
    "  create [--pak] ARCHIVE [FILE|DIR...]  make a new archive holding the files\n"
    "  list ARCHIVE                          size, date and name of every member\n"
    "  add ARCHIVE FILE|DIR...               add files as members named after them\n"
    "  rm ARCHIVE MEMBER...                  remove members\n"
    "  mv ARCHIVE MEMBER NEWNAME             rename a member\n"
    "  update ARCHIVE MEMBER FILE            replace a member's content with a file\n"
    "  extract ARCHIVE [MEMBER...] [-C DIR]  write members (all by default) into DIR (.)\n"
    "  info ARCHIVE                          format, member count and total size\n"
    "\n"
    "A directory is packed with everything below it. QZM archives name members by file\n"
    "name alone (up to 31 characters, no two alike); PAK archives name the files of a\n"
    "directory by their path inside it, as in \"progs/player.mdl\" (up to 56 characters),\n"
    "and extracting makes those folders again. Members cannot be empty.\n"
    "Exit status: 0 done, 1 failed or something skipped, 2 bad usage.\n";

enum Status { DONE = 0, FAILED = 1, BAD_USAGE = 2 };

const unsigned kQzmNameMax = 31;
const unsigned kPakNameMax = 56;
const unsigned kQzmRecordSize = 44;
const unsigned kPakRecordSize = 64;
// Streams seek with signed 32-bit offsets, so an archive must stay below 2 GiB.
const uint64_t kArchiveMax = 0x7FFFFFFF;
// Fewer files than this finish too quickly for a progress line to be worth it.
const size_t kProgressFrom = 10;
// The archive editor's fixed temporary file, made in the current directory.
const char kTempName[] = "QZMARCH.TMP";

struct Command {
    std::string name;
    std::vector<std::string> operands;
    bool pak = false;
    std::string dir = ".";
};

// What stops a command: the file it concerns and why. Empty when nothing does.
struct Refusal {
    std::string file;
    std::string reason;
    explicit operator bool() const { return !reason.empty(); }
};

using Archive = std::unique_ptr<QZMArchive>;

int Fail(const Refusal& refusal) {
    fprintf(stderr, "qzmarch: %s: %s\n", refusal.file.c_str(), refusal.reason.c_str());
    return FAILED;
}

int BadUsage(const std::string& reason) {
    fprintf(stderr, "qzmarch: %s\nTry 'qzmarch --help' for more information.\n", reason.c_str());
    return BAD_USAGE;
}

// Progress on stderr for long runs, only when someone is watching.
class Progress {
public:
    Progress(const char* verb, size_t total)
        : verb(verb), total(total), shown(total >= kProgressFrom && isatty(2)) {}
    ~Progress() {
        if (shown) fputc('\n', stderr);
    }
    void Step(size_t done) const {
        if (shown) fprintf(stderr, "\r%s %zu/%zu", verb, done, total);
    }

private:
    const char* verb;
    size_t total;
    bool shown;
};

std::string ErrnoText() {
    return strerror(errno);
}

unsigned NameMax(const QZMArchive& archive) {
    return archive.type == QZMArchive::FORMAT_PAK ? kPakNameMax : kQzmNameMax;
}

unsigned RecordSize(const QZMArchive& archive) {
    return archive.type == QZMArchive::FORMAT_PAK ? kPakRecordSize : kQzmRecordSize;
}

// The member name the archive would derive from a path: what follows the last separator.
std::string MemberNameOf(const std::string& path) {
    size_t cut = path.find_last_of("/\\");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

std::string DirectoryOf(const std::string& path) {
    size_t cut = path.find_last_of('/');
    if (cut == std::string::npos) return ".";
    return cut == 0 ? "/" : path.substr(0, cut);
}

std::string Absolute(const std::string& path) {
    if (QZMFileUtils::IsAbsolute(path.c_str())) return path;
    std::unique_ptr<char[]> cwd(QZMFileUtils::GetCWD());
    return cwd ? std::string(cwd.get()) + "/" + path : path;
}

Refusal CheckInputFile(const std::string& path, uint64_t& size) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) return {path, ErrnoText()};
    if (!S_ISREG(st.st_mode)) return {path, "not a regular file"};
    if (st.st_size == 0) return {path, "empty file (archive members cannot be empty)"};
    if (access(path.c_str(), R_OK) != 0) return {path, ErrnoText()};
    size = static_cast<uint64_t>(st.st_size);
    return {};
}

Refusal CheckNameLength(const std::string& name, const QZMArchive& archive) {
    if (name.size() <= NameMax(archive)) return {};
    return {name, "member name too long (" + std::to_string(name.size()) + " characters, at most " +
                      std::to_string(NameMax(archive)) + ")"};
}

Refusal CheckMemberName(const std::string& name, const QZMArchive& archive) {
    if (name.empty()) return {"\"\"", "empty member name"};
    if (name.find_first_of("/\\") != std::string::npos) {
        return {name, "member names cannot contain '/' or '\\'"};
    }
    return CheckNameLength(name, archive);
}

std::vector<std::string> PathParts(const std::string& path) {
    std::vector<std::string> parts(1);
    for (char c : path) {
        if (c == '/') parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}

// A name with folders must stay below the directory it is extracted into.
bool IsSafeMemberPath(const std::string& name) {
    if (name.empty() || name[0] == '/') return false;
    for (const std::string& part : PathParts(name)) {
        if (part.empty() || part == "." || part == "..") return false;
    }
    return true;
}

Refusal CheckSafeToExtract(const char* name) {
    std::string text = name ? name : "";
    if (IsSafeMemberPath(text)) return {};
    return {"\"" + text + "\"", "unsafe member name (absolute or leaving the directory), not extracted"};
}

Refusal CheckArchiveSize(const QZMArchive& archive, const std::string& path, uint64_t dataEnd,
                         uint64_t members) {
    if (dataEnd + members * RecordSize(archive) <= kArchiveMax) return {};
    return {path, "the archive would grow beyond 2 GiB"};
}

bool SameFile(const std::string& a, const char* b) {
    struct stat first, second;
    return b && stat(a.c_str(), &first) == 0 && stat(b, &second) == 0 &&
           first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

std::set<std::string> MemberNames(const QZMArchive& archive) {
    std::set<std::string> names;
    for (unsigned i = 0; i < archive.NbFiles(); ++i) names.insert(archive.FileName(i));
    return names;
}

int MemberIndex(const QZMArchive& archive, const std::string& member, Refusal& refusal) {
    int index = archive.FindFile(member.c_str());
    if (index < 0) refusal = {archive.Name(), "no member named " + member};
    return index;
}

// A file to pack and the member it becomes; withFolders when its name keeps its path.
struct NewMember {
    std::string file;
    std::string name;
    bool withFolders;
};

// Every file below dir, sorted, named by its path inside dir. Directories reached through a
// symbolic link are not followed, so a link loop cannot recurse forever.
void CollectTree(const std::string& dir, const std::string& prefix, std::vector<NewMember>& out,
                 std::vector<Refusal>& refused) {
    DIR* stream = opendir(dir.c_str());
    if (!stream) return refused.push_back({dir, ErrnoText()});
    std::vector<std::string> names;
    while (dirent* entry = readdir(stream)) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    closedir(stream);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        std::string path = dir + "/" + name;
        struct stat st;
        if (lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            CollectTree(path, prefix + name + "/", out, refused);
        } else {
            out.push_back({path, prefix + name, true});
        }
    }
}

// The operands as members: files by their name, directories by everything below them.
std::vector<NewMember> Expand(const std::vector<std::string>& operands,
                              std::vector<Refusal>& refused) {
    std::vector<NewMember> members;
    for (std::string operand : operands) {
        while (operand.size() > 1 && operand.back() == '/') operand.pop_back();
        if (QZMFileUtils::IsDir(operand.c_str())) {
            CollectTree(operand, "", members, refused);
        } else {
            members.push_back({operand, MemberNameOf(operand), false});
        }
    }
    return members;
}

// QZM archives keep file names alone; PAK archives keep the path inside a packed directory.
Refusal CheckNewName(NewMember& member, const QZMArchive& archive) {
    if (archive.type != QZMArchive::FORMAT_PAK && member.withFolders) {
        member.name = MemberNameOf(member.name);
        member.withFolders = false;
    }
    if (!member.withFolders) return CheckMemberName(member.name, archive);
    if (!IsSafeMemberPath(member.name)) return {member.name, "unusable member name"};
    return CheckNameLength(member.name, archive);
}

// Why a member cannot be added, or nothing. taken maps the names in use to the files that
// will fill them (empty for the archive's own members).
std::string Obstacle(NewMember& member, const QZMArchive& archive, const std::string& path,
                     std::map<std::string, std::string>& taken) {
    uint64_t size = 0;
    if (Refusal refusal = CheckInputFile(member.file, size)) return refusal.reason;
    if (SameFile(member.file, path.c_str())) return "is the archive itself";
    if (Refusal refusal = CheckNewName(member, archive)) return refusal.reason;
    auto holder = taken.emplace(member.name, member.file);
    if (holder.second) return {};
    const std::string& other = holder.first->second;
    return "a member named " + member.name + (other.empty() ? " already exists" : " comes from " + other);
}

// The members that can be added; every other file goes to refused, with its reason.
std::vector<NewMember> Admit(const QZMArchive& archive, const std::string& path,
                             std::vector<NewMember> candidates, std::vector<Refusal>& refused) {
    std::map<std::string, std::string> taken;
    for (const std::string& name : MemberNames(archive)) taken[name] = "";
    std::vector<NewMember> admitted;
    for (NewMember& member : candidates) {
        std::string obstacle = Obstacle(member, archive, path, taken);
        if (obstacle.empty()) admitted.push_back(member);
        else refused.push_back({member.file, obstacle});
    }
    return admitted;
}

uint64_t TotalBytes(const std::vector<NewMember>& members) {
    uint64_t total = 0;
    for (const NewMember& member : members) {
        struct stat st;
        if (stat(member.file.c_str(), &st) == 0) total += uint64_t(st.st_size);
    }
    return total;
}

int Report(const std::vector<Refusal>& refused) {
    for (const Refusal& refusal : refused) Fail(refusal);
    return refused.empty() ? DONE : FAILED;
}

Refusal AddAll(QZMArchive& archive, const std::vector<NewMember>& members) {
    Progress progress("adding", members.size());
    for (size_t i = 0; i < members.size(); ++i) {
        const NewMember& member = members[i];
        const char* file = member.file.c_str();
        int index = member.withFolders ? archive.AddFileAs(file, member.name.c_str())
                                       : archive.AddFile(file, member.name.c_str());
        if (index < 0) return {member.file, "could not be copied into the archive"};
        progress.Step(i + 1);
    }
    return {};
}

Refusal OpenExisting(const std::string& path, Archive& archive) {
    if (!QZMFileUtils::FileExist(path.c_str())) return {path, strerror(ENOENT)};
    if (QZMFileUtils::IsDir(path.c_str())) return {path, strerror(EISDIR)};
    archive.reset(QZMArchive::OpenArchive(path.c_str()));
    if (archive) return {};
    switch (QZMArchive::FindArchiveFormat(path.c_str())) {
    case QZMArchive::FORMAT_UNKNOWN: return {path, "not an archive (or unreadable)"};
    case QZMArchive::FORMAT_QZM:
    case QZMArchive::FORMAT_PAK: return {path, "damaged archive"};
    default: return {path, "archive format not supported"};
    }
}

// Removal and update rename the temporary file over the archive, which only works on the
// archive's own file system: so work beside the archive, and never clobber a stranger's file.
Refusal MoveBesideArchive(const QZMArchive& archive) {
    std::string dir = DirectoryOf(archive.Name());
    if (chdir(dir.c_str()) != 0 || access(".", W_OK) != 0) return {dir, ErrnoText()};
    if (QZMFileUtils::FileExist(kTempName)) {
        return {dir + "/" + kTempName,
                "left by an edit that was interrupted, or made by another program; the archive "
                "is as it was before that edit. Remove the file, then run the command again"};
    }
    return {};
}

std::string FormatDate(unsigned date) {
    if (date == 0) return "-";
    time_t when = static_cast<time_t>(date);
    char text[32];
    struct tm parts;
    if (!localtime_r(&when, &parts) || !strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts)) {
        return "?";
    }
    return text;
}

int RunCreate(const Command& command) {
    if (command.operands.empty()) return BadUsage("create: missing ARCHIVE");
    const std::string& path = command.operands[0];
    std::vector<std::string> files(command.operands.begin() + 1, command.operands.end());
    if (QZMFileUtils::FileExist(path.c_str())) return Fail({path, "already exists"});
    Archive archive(command.pak ? static_cast<QZMArchive*>(new QZMArchPAK)
                                : static_cast<QZMArchive*>(new QZMArchQZM));
    std::vector<Refusal> refused;
    std::vector<NewMember> members = Admit(*archive, path, Expand(files, refused), refused);
    if (members.empty() && !refused.empty()) return Report(refused);
    uint64_t dataEnd = archive->dataEnd + TotalBytes(members);
    Refusal refusal = CheckArchiveSize(*archive, path, dataEnd, members.size());
    if (refusal) return Fail(refusal);
    if (!archive->Create(path.c_str())) return Fail({path, "cannot create: " + ErrnoText()});
    if ((refusal = AddAll(*archive, members))) {
        QZMFileUtils::FileRemove(path.c_str()); // it did not exist before
        return Fail(refusal);
    }
    return Report(refused);
}

int RunList(const QZMArchive& archive) {
    for (unsigned i = 0; i < archive.NbFiles(); ++i) {
        printf("%10u  %-16s  %s\n", archive.FileSize(i), FormatDate(archive.FileDate(i)).c_str(),
               archive.FileName(i));
    }
    return DONE;
}

int RunInfo(const QZMArchive& archive) {
    printf("archive: %s\nformat:  %s\nmembers: %u\nbytes:   %u\n", archive.Name(),
           archive.FormatInfo(), archive.NbFiles(), archive.TotalSize());
    return DONE;
}

int RunAdd(QZMArchive& archive, const std::vector<std::string>& files) {
    if (files.empty()) return BadUsage("add: missing FILE");
    std::vector<Refusal> refused;
    std::vector<NewMember> members = Admit(archive, archive.Name(), Expand(files, refused), refused);
    uint64_t dataEnd = archive.dataEnd + TotalBytes(members);
    Refusal refusal = CheckArchiveSize(archive, archive.Name(), dataEnd, archive.NbFiles() + members.size());
    if (refusal) return Fail(refusal);
    if ((refusal = AddAll(archive, members))) return Fail(refusal);
    return Report(refused);
}

int RunRemove(QZMArchive& archive, const std::vector<std::string>& members) {
    if (members.empty()) return BadUsage("rm: missing MEMBER");
    std::set<std::string> doomed(members.begin(), members.end());
    Refusal refusal;
    for (const std::string& member : doomed) {
        if (MemberIndex(archive, member, refusal) < 0) return Fail(refusal);
    }
    // An archive emptied by removal is left unreadable by the format's editor.
    if (doomed.size() >= archive.NbFiles()) {
        return Fail({archive.Name(), "cannot remove every member; delete the archive instead"});
    }
    if ((refusal = MoveBesideArchive(archive))) return Fail(refusal);
    // Every removal copies the rest of the archive, so many take a while.
    Progress progress("removing", doomed.size());
    size_t done = 0;
    for (const std::string& member : doomed) {
        if (!archive.RemoveFile(static_cast<unsigned>(archive.FindFile(member.c_str())))) {
            return Fail({archive.Name(), "could not remove " + member});
        }
        progress.Step(++done);
    }
    return DONE;
}

int RunRename(QZMArchive& archive, const std::vector<std::string>& operands) {
    if (operands.size() != 2) return BadUsage("mv: expected MEMBER NEWNAME");
    Refusal refusal;
    int index = MemberIndex(archive, operands[0], refusal);
    if (index < 0) return Fail(refusal);
    if ((refusal = CheckMemberName(operands[1], archive))) return Fail(refusal);
    int holder = archive.FindFile(operands[1].c_str());
    if (holder >= 0 && holder != index) return Fail({operands[1], "a member has that name"});
    if (!archive.RenameFile(static_cast<unsigned>(index), operands[1].c_str())) {
        return Fail({archive.Name(), "could not rename " + operands[0]});
    }
    return DONE;
}

int RunUpdate(QZMArchive& archive, const std::vector<std::string>& operands) {
    if (operands.size() != 2) return BadUsage("update: expected MEMBER FILE");
    Refusal refusal;
    int index = MemberIndex(archive, operands[0], refusal);
    if (index < 0) return Fail(refusal);
    uint64_t size = 0;
    if ((refusal = CheckInputFile(operands[1], size))) return Fail(refusal);
    uint64_t dataEnd = uint64_t(archive.dataEnd) - archive.FileSize(index) + size;
    if ((refusal = CheckArchiveSize(archive, archive.Name(), dataEnd, archive.NbFiles()))) {
        return Fail(refusal);
    }
    std::string file = Absolute(operands[1]);
    if ((refusal = MoveBesideArchive(archive))) return Fail(refusal);
    if (!archive.UpdateFile(static_cast<unsigned>(index), file.c_str())) {
        return Fail({archive.Name(), "could not update " + operands[0]});
    }
    return DONE;
}

Refusal SelectMembers(const QZMArchive& archive, const std::vector<std::string>& members,
                      std::vector<unsigned>& chosen) {
    Refusal refusal;
    for (const std::string& member : members) {
        int index = MemberIndex(archive, member, refusal);
        if (index < 0) return refusal;
        chosen.push_back(static_cast<unsigned>(index));
    }
    for (unsigned i = 0; members.empty() && i < archive.NbFiles(); ++i) chosen.push_back(i);
    return {};
}

// Makes the folders of a member's path below dir.
Refusal MakeFolders(const std::string& dir, const std::string& name) {
    std::vector<std::string> parts = PathParts(name);
    std::string path = dir;
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        path += "/" + parts[i];
        if (mkdir(path.c_str(), 0777) != 0 && !QZMFileUtils::IsDir(path.c_str())) {
            return {path, ErrnoText()};
        }
    }
    return {};
}

Refusal ExtractOne(const QZMArchive& archive, unsigned index, const std::string& dir) {
    const char* name = archive.FileName(index);
    if (Refusal refusal = CheckSafeToExtract(name)) return refusal;
    if (Refusal refusal = MakeFolders(dir, name)) return refusal;
    std::string dest = dir + "/" + name;
    if (!archive.ExtractFile(index, dest.c_str())) return {dest, "could not write"};
    return {};
}

int RunExtract(const QZMArchive& archive, const Command& command) {
    std::vector<std::string> members(command.operands.begin() + 1, command.operands.end());
    if (!QZMFileUtils::IsDir(command.dir.c_str())) return Fail({command.dir, "no such directory"});
    std::vector<unsigned> chosen;
    if (Refusal refusal = SelectMembers(archive, members, chosen)) return Fail(refusal);
    std::vector<Refusal> failed;
    Progress progress("extracting", chosen.size());
    for (size_t i = 0; i < chosen.size(); ++i) {
        if (Refusal refusal = ExtractOne(archive, chosen[i], command.dir)) failed.push_back(refusal);
        progress.Step(i + 1);
    }
    return Report(failed);
}

int RunOnArchive(const Command& command) {
    if (command.operands.empty()) return BadUsage(command.name + ": missing ARCHIVE");
    Archive archive;
    if (Refusal refusal = OpenExisting(command.operands[0], archive)) return Fail(refusal);
    std::vector<std::string> rest(command.operands.begin() + 1, command.operands.end());
    const std::string& name = command.name;
    if ((name == "list" || name == "info") && !rest.empty()) {
        return BadUsage(name + ": unexpected argument " + rest[0]);
    }
    bool edits = name != "list" && name != "info" && name != "extract";
    if (edits && access(archive->Name(), W_OK) != 0) return Fail({archive->Name(), ErrnoText()});
    if (name == "list") return RunList(*archive);
    if (name == "info") return RunInfo(*archive);
    if (name == "add") return RunAdd(*archive, rest);
    if (name == "rm") return RunRemove(*archive, rest);
    if (name == "mv") return RunRename(*archive, rest);
    if (name == "update") return RunUpdate(*archive, rest);
    return RunExtract(*archive, command);
}

bool IsKnownCommand(const std::string& name) {
    for (const char* known : {"create", "list", "add", "rm", "mv", "update", "extract", "info"}) {
        if (name == known) return true;
    }
    return false;
}

// Options may stand anywhere after the command; "--" ends them.
std::string ParseOptions(int argc, char** argv, Command& command) {
    bool optionsEnded = false;
    for (int i = 2; i < argc; ++i) {
        std::string arg = argv[i];
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            command.operands.push_back(arg);
        } else if (arg == "--") {
            optionsEnded = true;
        } else if (arg == "--pak" && command.name == "create") {
            command.pak = true;
        } else if (arg == "-C" && command.name == "extract") {
            if (++i == argc) return "-C needs a directory";
            command.dir = argv[i];
        } else {
            return command.name + ": unknown option " + arg;
        }
    }
    return {};
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) return BadUsage("missing command");
    Command command;
    command.name = argv[1];
    if (command.name == "--help" || command.name == "-h") {
        fputs(kUsage, stdout);
        return DONE;
    }
    if (command.name == "--version") {
        printf("qzmarch (qzm) %s\n", QZM::Versiont());
        return DONE;
    }
    // Past a file size limit, writes then fail and the archive is put back as it was,
    // instead of the process being killed halfway through an edit.
    signal(SIGXFSZ, SIG_IGN);
    if (!IsKnownCommand(command.name)) return BadUsage("unknown command " + command.name);
    std::string problem = ParseOptions(argc, argv, command);
    if (!problem.empty()) return BadUsage(problem);
    if (command.name == "create") return RunCreate(command);
    return RunOnArchive(command);
}
