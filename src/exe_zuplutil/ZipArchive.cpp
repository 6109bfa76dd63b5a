#include "ZipArchive.h"

#include <utility>

#include "Actions.h"
#include "ArchiveCheck.h"
#include "Console.h"
#include "Paths.h"
#include "TextFiles.h"
#include "ZuDirectory.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuText.h"

namespace zuplutil {

namespace {

// Creates the 22 bytes of an empty archive, has the shell copy into it, and
// gives the shell, which copies in the background, ten seconds.
constexpr char kScript[] =
    "Set objArgs = WScript.Arguments\n"
    "\t\tSourceFolder = objArgs(0)\n"
    "\t\tDestZipFile = objArgs(1)\n"
    "\t\tCreateObject(\"Scripting.FileSystemObject\").CreateTextFile(DestZipFile, True).Write "
    "\"PK\" & Chr(5) & Chr(6) & String(18, vbNullChar)\n"
    "\t\tSet objShell = CreateObject(\"Shell.Application\")\n"
    "\t\tSet source = objShell.NameSpace(SourceFolder).Items\n"
    "\t\tset destination = objShell.NameSpace(DestZipFile)\n"
    "\t\tdestination.CopyHere(source)\n"
    "\t\twScript.Sleep 10000\n";

constexpr std::int64_t kInUse = -1;

// kInUse while somebody has the file open for writing; 0 when it cannot be read.
std::int64_t sizeOf(const std::wstring& path) {
    const zustd::FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                             OPEN_EXISTING, 0, nullptr));
    if (!file) {
        return GetLastError() == ERROR_SHARING_VIOLATION ? kInUse : 0;
    }
    LARGE_INTEGER size{};
    GetFileSizeEx(file.get(), &size);
    return size.QuadPart;
}

}  // namespace

void zipFolder(const std::string& sourceFolder, const std::string& zipPath,
               const std::string& workDir) {
    const std::string script = workDir + "\\plutil_zip.vbs";
    writeTextFile(script, kScript);
    runCommand(zustd::formatNarrow("CScript \"%s\" \"%s\" \"%s\"", keepPerCents(script).c_str(),
                                   keepPerCents(sourceFolder).c_str(),
                                   keepPerCents(zipPath).c_str()));
    removeFile(zustd::widen(script));
}

bool waitUntilPacked(const std::wstring& zipPath, const std::wstring& folder) {
    constexpr DWORD kStep = 1000;
    constexpr int kMostSteps = 300;
    std::int64_t size = sizeOf(zipPath);
    for (int step = 0; zustd::isFile(zipPath); ++step) {
        if (holdsFolder(zipPath, folder)) {
            return true;
        }
        if (step == kMostSteps) {
            break;
        }
        Sleep(kStep);
        const std::int64_t before = std::exchange(size, sizeOf(zipPath));
        if (size == before && size != kInUse) {
            break;
        }
        if (step == 0) {
            printAndRecord("Waiting until the archive is complete...\n");
        }
    }
    return false;
}

}  // namespace zuplutil
