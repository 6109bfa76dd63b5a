// An add-in for the tests: an in-process COM server that, asked to connect, writes its debug.config
// into the log that this names. PELLORY_ADDIN tells how it misbehaves then.

#include <objbase.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace {

constexpr IID kIidExtensibility2 = {
    0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};

// Every call has an array that the next one reads, so that none can be saved.
int overflow(const volatile char* outer) {
    volatile char frame[4096] = {};
    frame[0] = outer[0];
    return frame[0] != 0 ? 0 : overflow(frame) + frame[1];
}

DWORD WINAPI linger(void*) {
    Sleep(INFINITE);
    return 0;
}

HRESULT misbehave(const std::wstring& how) {
    const auto is = [&how](const wchar_t* name) { return how.ends_with(name); };
    if (is(L"throws")) {
#ifdef __x86_64__
        throw std::runtime_error("broken");
#else
        // This compiler's exceptions end at the module on 32 bits; the usual add-in's are the
        // system's, with this code.
        RaiseException(0xE06D7363, EXCEPTION_NONCONTINUABLE, 0, nullptr);
#endif
    } else if (is(L"crashes")) {
        *reinterpret_cast<volatile int*>(how.size() / 1000) = 1;
    } else if (is(L"overflows")) {
        overflow(std::string(1, '\0').c_str());
    } else if (is(L"exits")) {
        std::exit(0);
    } else if (is(L"ends")) {
        TerminateProcess(GetCurrentProcess(), static_cast<UINT>(-1));
    } else if (is(L"aborts")) {
        std::abort();
    } else if (is(L"hangs")) {
        Sleep(INFINITE);
    } else if (is(L"wanders")) {
        std::puts("a word to the screen");
        SetCurrentDirectoryW(L"C:\\");
        CreateThread(nullptr, 0, &linger, nullptr, 0, nullptr);
    }
    return is(L"fails") ? E_FAIL : S_OK;
}

std::wstring way() {
    const wchar_t* const value = _wgetenv(L"PELLORY_ADDIN");
    return value != nullptr ? value : L"";
}

// COM objects are released, never deleted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Class factory and add-in in one static object, whose counts do not matter: their operations lie
// in different places.
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
        if (way().starts_with(L"create ")) {
            misbehave(way());
        }
        return QueryInterface(iid, object);
    }
    virtual void STDMETHODCALLTYPE nobodyCalls4() {}
    virtual void STDMETHODCALLTYPE nobodyCalls5() {}
    virtual void STDMETHODCALLTYPE nobodyCalls6() {}
    virtual HRESULT STDMETHODCALLTYPE OnConnection(void* application, int mode, void* instance,
                                                   void* custom) {
        const std::filesystem::path data = _wgetenv(L"APPDATA");
        std::ifstream config(data / "Pellory For Outlook" / "debug.config");
        std::ofstream log;
        for (std::string line; std::getline(config, line);) {
            if (const std::size_t at = line.find("<k>logFile</k><t>string</t><v>");
                at != line.npos) {
                log.open(line.substr(at + 30, line.find("</v>") - at - 30), std::ios::app);
            }
        }
        log << "add-in: mode=" << mode
            << (application == nullptr && instance == nullptr && custom == nullptr ? ""
                                                                                   : " and more")
            << std::endl;
        return misbehave(way());
    }
};

#pragma GCC diagnostic pop

}  // namespace

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE
    DllGetClassObject(REFCLSID, REFIID iid, void** object) {
    static Server server;
    return server.QueryInterface(iid, object);
}

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE DllCanUnloadNow() { return S_FALSE; }
