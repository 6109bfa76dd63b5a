// An add-in for the tests: an in-process COM server that, asked to connect,
// reads its debug.config as an add-in does and writes what it saw into the log
// that the settings name. PELLORY_ADDIN tells how it misbehaves then.

#include <oaidl.h>
#include <objbase.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "ZuLoader.h"
#include "ZuPropertyBag.h"

namespace {

// COM objects are released, never deleted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// Only the first of its operations is called.
struct IDTExtensibility2 : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int mode,
                                                   IDispatch* instance, SAFEARRAY** custom) = 0;
};

constexpr IID kIidExtensibility2 = {
    0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};

std::wstring variable(const wchar_t* name) {
    const wchar_t* const value = _wgetenv(name);
    return value != nullptr ? value : L"";
}

void report(int mode, bool nothingElseGiven) {
    zustd::PropertyBag settings;
    zustd::Loader::loadSerializedString(
        variable(L"APPDATA") + L"\\Pellory For Outlook\\debug.config", settings);
    std::wstring logFile;
    settings.getString(L"logFile", logFile, L"");
    std::ofstream log(std::filesystem::path(logFile), std::ios::app);
    log << "add-in: logEnabled=" << settings.getBool(L"logEnabled", false)
        << " logFile=" << std::filesystem::path(logFile).string()
        << " logLevel=" << settings.getLong(L"logLevel", -1)
        << " logOptions=" << settings.getLong(L"logOptions", -1) << " mode=" << mode
        << (nothingElseGiven ? "" : " and more") << "\n";
}

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

// Add-in and class factory are static objects: their counts do not matter.
template <class Interface, const IID& kIid>
class StaticObject : public Interface {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, kIid);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
};

class Addin final : public StaticObject<IDTExtensibility2, kIidExtensibility2> {
public:
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*,
                                     UINT*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int mode, IDispatch* instance,
                                           SAFEARRAY** custom) override {
        report(mode, application == nullptr && instance == nullptr && custom == nullptr);
        return misbehave(variable(L"PELLORY_ADDIN"));
    }
};

class Factory final : public StaticObject<IClassFactory, IID_IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID iid, void** object) override {
        static Addin addin;
        if (const auto how = variable(L"PELLORY_ADDIN"); how.starts_with(L"create ")) {
            misbehave(how);
        }
        return addin.QueryInterface(iid, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

#pragma GCC diagnostic pop

}  // namespace

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE
    DllGetClassObject(REFCLSID, REFIID iid, void** object) {
    static Factory factory;
    return factory.QueryInterface(iid, object);
}

extern "C" __declspec(dllexport) HRESULT STDMETHODCALLTYPE DllCanUnloadNow() { return S_FALSE; }
