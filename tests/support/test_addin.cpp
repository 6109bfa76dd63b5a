// An add-in for the tests, which does what PELLORY_ADDIN says. Under the names of other libraries
// it is one that somebody planted: loaded, it leaves a note in the file that PELLORY_PLANTED names.

#include <objbase.h>

#include <string>

namespace {

constexpr IID kIidExtensibility2 = {
    0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};

const wchar_t* const kWanted = _wgetenv(L"PELLORY_ADDIN");
const std::wstring how = kWanted != nullptr ? kWanted : L"";

HRESULT behave() {
    if (how == L"throws") {
        throw 1;
    } else if (how == L"crashes") {
        *reinterpret_cast<volatile int*>(how.size() / 1000) = 1;
    } else if (how.starts_with(L"0x")) {
        TerminateProcess(GetCurrentProcess(), std::stoul(how, nullptr, 16));
    } else if (how == L"hangs") {
        WaitForSingleObject(CreateMutexW(nullptr, FALSE, L"PelloryTestAddin"), INFINITE);
        Sleep(INFINITE);
    } else if (how == L"wanders") {
        SetCurrentDirectoryW(L"C:\\");
    }
    return how == L"fails" ? E_FAIL : S_OK;
}

// COM objects are released, never deleted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Class factory and add-in in one static object: their operations lie in different places.
class Server : public IUnknown {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IClassFactory) ||
                           IsEqualIID(iid, kIidExtensibility2);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    virtual HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) {
        return how == L"null" ? *object = nullptr, S_OK : QueryInterface(iid, object);
    }
    virtual void STDMETHODCALLTYPE nobodyCalls4() {}
    virtual void STDMETHODCALLTYPE nobodyCalls5() {}
    virtual void STDMETHODCALLTYPE nobodyCalls6() {}
    virtual HRESULT STDMETHODCALLTYPE OnConnection(void* office, int mode, void* instance,
                                                   void* custom) {
        const bool isAsOffice = office == nullptr && mode == 3 && instance == nullptr;
        const bool mayShowBoxes = GetErrorMode() != 0x8003;
        return isAsOffice && custom == nullptr && !mayShowBoxes ? behave() : E_INVALIDARG;
    }
};

#pragma GCC diagnostic pop

}  // namespace

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE
    DllGetClassObject(REFCLSID, REFIID iid, void** object) {
    static Server server;
    return server.QueryInterface(iid, object);
}

BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
    const wchar_t* const note = _wgetenv(L"PELLORY_PLANTED");
    if (reason == DLL_PROCESS_ATTACH && note != nullptr) {
        CloseHandle(CreateFileW(note, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    }
    return TRUE;
}
