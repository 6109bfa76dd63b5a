#include "AddinProbe.h"

#include <array>

#include "ZuFile.h"
#include "ZuHandleWin32Gdi.h"
#include "ZuScope.h"
#include "ZuText.h"
#include "ZuWindows.h"
// Needs the types of windows.h.
#include <oaidl.h>
#include <objbase.h>

namespace zuplutil {

// COM objects are released, never deleted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// The interface by which Office loads its add-ins, as far as it is called. Not in
// an unnamed namespace: a compiler that sees that nobody here implements it would
// take the call for one that cannot happen.
struct IDTExtensibility2 : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int connectMode,
                                                   IDispatch* addInInstance,
                                                   SAFEARRAY** custom) = 0;
};

#pragma GCC diagnostic pop

namespace {

constexpr IID kIidExtensibility2 = {
    0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};

constexpr wchar_t kAddin[] = L"PelloryForOutlook.Connect";

// ext_cm_CommandLine: loaded from outside Office's own interface.
constexpr int kConnectFromCommandLine = 3;

void release(IDTExtensibility2* object) { object->Release(); }
using AddinReference = zustd::Handle<zustd::NullHandleTraits<IDTExtensibility2*, &release>>;

// Programs of the other width, which see registry and libraries of their own.
constexpr bool kWeAre64 = sizeof(void*) == 8;
constexpr REGSAM kOwnView = kWeAre64 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY;
constexpr REGSAM kOtherView = kWeAre64 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
constexpr WORD kOtherMachine = kWeAre64 ? IMAGE_FILE_MACHINE_I386 : IMAGE_FILE_MACHINE_AMD64;

using Key = zustd::Handle<zustd::NullHandleTraits<HKEY, &RegCloseKey>>;

// The text in a key below the classes, the user's before the machine's, or empty.
std::wstring readClasses(const std::wstring& name, REGSAM view) {
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        HKEY opened = nullptr;
        RegOpenKeyExW(root, (L"Software\\Classes\\" + name).c_str(), 0, KEY_QUERY_VALUE | view,
                      &opened);
        const Key key(opened);
        std::array<wchar_t, 1024> text{};
        DWORD size = sizeof(text);
        if (key && RegGetValueW(opened, nullptr, nullptr, RRF_RT_REG_SZ, nullptr, text.data(),
                                &size) == ERROR_SUCCESS) {
            return text.data();
        }
    }
    return {};
}

// The library that a view of the registry has for the add-in.
std::wstring findServer(REGSAM view) {
    const std::wstring classId = readClasses(std::wstring(kAddin) + L"\\CLSID", view);
    return classId.empty() ? classId
                           : readClasses(L"CLSID\\" + classId + L"\\InprocServer32", view);
}

bool isLibraryOfOtherMachine(const std::wstring& path) {
    IMAGE_DOS_HEADER first{};
    struct {
        DWORD signature;
        IMAGE_FILE_HEADER file;
    } header{};
    const zustd::File file = zustd::openForReading(path);
    return file && std::fread(&first, sizeof(first), 1, file.get()) == 1 &&
           std::fseek(file.get(), first.e_lfanew, SEEK_SET) == 0 &&
           std::fread(&header, sizeof(header), 1, file.get()) == 1 &&
           header.signature == IMAGE_NT_SIGNATURE && header.file.Machine == kOtherMachine;
}

// Some of the registry is the same in both views, so that ours may name the
// other one's library.
bool isThereForOtherMachine() {
    const std::wstring own = findServer(kOwnView);
    return own.empty() ? !findServer(kOtherView).empty() : isLibraryOfOtherMachine(own);
}

// Whether there is an answer, even a null one; a failure is logged.
bool instantiate(const Log& log, void** object) {
    CLSID classId{};
    if (FAILED(CLSIDFromProgID(kAddin, &classId))) {
        log("could not get classid for Pellory.Connect");
        return false;
    }
    if (FAILED(
            CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, kIidExtensibility2, object))) {
        log("could not instantiate Pellory.Connect");
        return false;
    }
    return true;
}

}  // namespace

void connectToAddin(const Log& log) {
    log("attempting to connect to Pellory add-in");
    const bool initialized = SUCCEEDED(CoInitialize(nullptr));
    const zustd::ScopeExit uninitialize([initialized] {
        if (initialized) {
            CoUninitialize();
        }
    });
    void* object = nullptr;
    if (!instantiate(log, &object)) {
        if (isThereForOtherMachine()) {
            log(kWeAre64 ? "Pellory add-in is there for 32-bit Outlook: please use zuplutil32.exe"
                         : "Pellory add-in is there for 64-bit Outlook: please use zuplutil.exe");
        }
        return;
    }
    const AddinReference addin(static_cast<IDTExtensibility2*>(object));
    log("created Pellory.Connect");
    if (!addin) {
        log("pIDTExtensibility2 is null");
        return;
    }
    const HRESULT result =
        addin.get()->OnConnection(nullptr, kConnectFromCommandLine, nullptr, nullptr);
    log(zustd::formatNarrow("call to OnConnection method completed with hr=%lx",
                            static_cast<unsigned long>(result)));
}

}  // namespace zuplutil
