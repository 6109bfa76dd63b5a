#include "AddinProbe.h"

#include "ZuHandle.h"
#include "ZuText.h"
#include "ZuWindows.h"
// Needs the types of windows.h.
#include <oaidl.h>
#include <objbase.h>

namespace zuplutil {

// COM objects are released, never deleted.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

// The interface by which Office loads its add-ins; declared here as far as it
// is called. Not in an unnamed namespace: a compiler that sees that nobody in
// this source implements it would take the call for one that cannot happen.
struct IDTExtensibility2 : IDispatch {
    virtual HRESULT STDMETHODCALLTYPE OnConnection(IDispatch* application, int connectMode,
                                                   IDispatch* addInInstance,
                                                   SAFEARRAY** custom) = 0;
};

#pragma GCC diagnostic pop

namespace {

constexpr IID kIidExtensibility2 = {
    0xB65AD801, 0xABAF, 0x11D0, {0xBB, 0x8B, 0x00, 0xA0, 0xC9, 0x0F, 0x27, 0x44}};

// ext_cm_CommandLine: loaded from outside Office's own interface.
constexpr int kConnectFromCommandLine = 3;

class ComApartment {
public:
    ComApartment() : initialized_(SUCCEEDED(CoInitialize(nullptr))) {}
    ComApartment(const ComApartment&) = delete;
    ComApartment& operator=(const ComApartment&) = delete;
    ~ComApartment() {
        if (initialized_) {
            CoUninitialize();
        }
    }

private:
    bool initialized_;
};

struct ComTraits {
    using Type = IDTExtensibility2*;
    static Type invalid() noexcept { return nullptr; }
    static void close(Type object) noexcept { object->Release(); }
};
using AddinReference = zustd::Handle<ComTraits>;

}  // namespace

void connectToAddin(const std::function<void(const std::string&)>& log) {
    log("attempting to connect to Pellory add-in");
    const ComApartment apartment;
    CLSID classId{};
    if (FAILED(CLSIDFromProgID(L"PelloryForOutlook.Connect", &classId))) {
        log("could not get classid for Pellory.Connect");
        return;
    }
    void* object = nullptr;
    if (FAILED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, kIidExtensibility2,
                                &object))) {
        log("could not instantiate Pellory.Connect");
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
