#include "ZipArchive.h"

#include "Actions.h"
#include "TextFiles.h"
#include "ZuCommand.h"
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

}  // namespace

void zipFolder(const std::string& sourceFolder, const std::string& zipPath,
               const std::string& workDir) {
    const std::string script = workDir + "\\plutil_zip.vbs";
    writeTextFile(script, kScript);
    zustd::runCommand(zustd::formatNarrow("CScript \"%s\" \"%s\" \"%s\"", script.c_str(),
                                          sourceFolder.c_str(), zipPath.c_str()));
    removeFile(zustd::widen(script));
}

}  // namespace zuplutil
