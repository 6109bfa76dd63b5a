// Shows every widget of the toolkit, or writes pictures of them.
//
//     gallery [--screenshot FOLDER] [--scale FACTOR] [--rows COUNT]
//     gallery --check
//
// With --screenshot a PNG of each page and of what opens from it, in each
// language, is written into the folder and the program ends. A scaling factor
// takes the place of the screen's. With --rows the program prints what so many
// rows of grids and nodes of trees cost, and ends. With --check it walks all pages
// by the keyboard, looks at each, and ends with exit code 0 when all is well.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "GalleryWindow.h"
#include "RowFigures.h"
#include "Screenshots.h"
#include "ZuApplicationServiceWin32Gdi.h"
#include "ZuResourceServiceGeneric.h"
#include "ZuText.h"
#include "ZuWindowServiceWin32Gdi.h"

namespace zustd::gallery {

namespace {

struct Options {
    std::wstring folder;
    double scalingFactor = 0.0;
    std::size_t rows = 0;
    bool checks = false;
};

bool readOptions(int argc, wchar_t** argv, Options& options) {
    options.checks = argc == 2 && argv[1] == std::wstring(L"--check");
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::wstring name = argv[i];
        if (name == L"--screenshot") {
            options.folder = argv[i + 1];
        } else if (name == L"--scale") {
            options.scalingFactor = std::wcstod(argv[i + 1], nullptr);
            if (!(options.scalingFactor >= 0.5 && options.scalingFactor <= 4.0)) {
                return false;
            }
        } else if (name == L"--rows") {
            options.rows = std::wcstoul(argv[i + 1], nullptr, 10);
            if (options.rows == 0 || options.rows > 10'000'000) {
                return false;
            }
        } else {
            return false;
        }
    }
    return options.checks || argc % 2 == 1;
}

std::shared_ptr<ResourceService> registerResources() {
    auto service = makeService<ResourceService>();
    ResourceServiceGeneric::install(*service, compiledInResources());
    ServiceLocator::instance()->registerService(service, true, true);
    return service;
}

std::shared_ptr<ApplicationService> registerApplication() {
    auto service = makeService<ApplicationService>();
    joinImplementation(*service, std::make_unique<ApplicationServiceWin32Gdi>());
    ServiceLocator::instance()->registerService(service, true, true);
    return service;
}

// Ends the message loop when the window has closed.
class CloseWatch : public MessageSink {
public:
    explicit CloseWatch(ApplicationService& application) : application_(application) {}
    bool onReceiveMessage(const MessageKind& kind, MessageWord, MessageWord) override {
        if (&kind == &Control::kClose) {
            application_.quitMessageLoop(0);
        }
        return false;
    }

private:
    ApplicationService& application_;
};

int run(const Options& options) {
    // Failures that the toolkit catches are told on standard output.
    static constexpr TraceSettings kTellFailures{kTraceToLog, nullptr, kTraceLevelReport};
    traceSettings = &kTellFailures;
    const auto resources = registerResources();
    const auto application = registerApplication();
    WindowServiceWin32Gdi::setScalingFactor(options.scalingFactor);
    const std::shared_ptr<WindowService> windows = makeWindowService(nullptr);
    if (options.rows != 0) {
        printRowFigures(*windows, options.rows);
        return 0;
    }
    GalleryWindow gallery(*windows, *resources);
    if (options.checks) {
        std::printf("%d pages are well\n", checkPages(gallery));
        return 0;
    }
    if (!options.folder.empty()) {
        std::printf("%d screenshots\n", writeScreenshots(gallery, options.folder));
        return gallery.hasFailed() ? 1 : 0;
    }
    gallery.window().connect(std::make_shared<CloseWatch>(*application), false);
    return application->runMessageLoop();
}

}  // namespace

}  // namespace zustd::gallery

int wmain(int argc, wchar_t** argv) {
    using namespace zustd;
    gallery::Options options;
    if (!gallery::readOptions(argc, argv, options)) {
        std::fputs(
            "usage: gallery [--screenshot FOLDER] [--scale 0.5 to 4] [--rows 1 to 10000000]\n"
            "       gallery --check\n",
            stderr);
        return 2;
    }
    try {
        return gallery::run(options);
    } catch (const SystemException& failure) {
        std::fprintf(stderr, "gallery: %s\n", narrow(failure.message()).c_str());
    } catch (const std::wstring& failure) {
        std::fprintf(stderr, "gallery: %s\n", narrow(failure).c_str());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "gallery: %s\n", failure.what());
    }
    return 1;
}
