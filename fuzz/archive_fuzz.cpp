// Archive Open of one format (QZM_FUZZ_ARCHIVE: 1 native, 2 PAK) from a file, then every
// member looked up, opened and read, the listing sorted and extraction refused safely.
#include <qzm/archive/ArchPAK.h>
#include <qzm/archive/ArchQZM.h>

#include <memory>

#include "fuzz/FuzzSupport.h"

namespace {

std::unique_ptr<QZMArchive> MakeArchive() {
    if (QZM_FUZZ_ARCHIVE == 2) return std::make_unique<QZMArchPAK>();
    return std::make_unique<QZMArchQZM>();
}

void ReadMember(const QZMArchive& archive, unsigned i) {
    std::unique_ptr<QZMResFile> member(archive.OpenResFile(i));
    if (!member) return;
    char buf[4096];
    while (member->Read(buf, sizeof buf) == sizeof buf) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    qzmfuzz::Quiet();
    std::string path = qzmfuzz::ScratchFile(data, size);
    QZMArchive::FindArchiveFormat(path.c_str());
    std::unique_ptr<QZMArchive> archive = MakeArchive();
    if (!archive->Open(path.c_str())) return 0;
    unsigned count = archive->NbFiles();
    for (unsigned i = 0; i < count && i < 64; i++) {
        archive->FindFile(archive->FileName(i));
        ReadMember(*archive, i);
    }
    archive->Sort(QZMFileProvider::SORT_EXT | QZMFileProvider::SORT_REVERSE);
    archive->TotalSize();
    archive->PrintContent();
    return 0;
}
