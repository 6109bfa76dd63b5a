// Laying out what has been measured already: the words of a markup view after
// a resize, and the children of a control.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Rows.h"
#include "ZuMarkupView.h"
#include "ZuWindows.h"
#include "support/RecordingBackend.h"

namespace bench {

namespace {

constexpr int kWords = 10'000;
constexpr int kChildren = 100'000;
// Of the recording backend's font, which is as wide everywhere.
constexpr std::int32_t kCharWidth = 7;
constexpr std::int32_t kColumns = 80;
constexpr std::int32_t kArea = 1000;
// How long a screen shows one picture.
constexpr std::chrono::milliseconds kFrame{16};

// From 2 to 10 characters and a blank, always the same.
std::wstring makeText() {
    std::wstring text;
    std::uint32_t state = 1;
    for (int i = 0; i < kWords; ++i) {
        state = state * 1103515245 + 12345;
        text.append(2 + (state >> 16) % 9, L'x').push_back(L' ');
    }
    return text;
}

// Every layout has another width than the one before, by so many columns.
std::int32_t columnsOf(int round) { return kColumns - round % 2; }

// --- Peers -----------------------------------------------------------------------------------

// What any layout has to write down, and the loop that finds it.
using Places = std::vector<zustd::Rect>;

std::int32_t placePlainly(Places& places, std::int32_t width) {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t rowHeight = 0;
    for (zustd::Rect& place : places) {
        const zustd::Size size = place.size();
        if (x > 0 && x + size.width > width) {
            y += rowHeight;
            x = 0;
            rowHeight = 0;
        }
        place = zustd::Rect::at({x, y}, size);
        x += size.width;
        rowHeight = std::max(rowHeight, size.height);
    }
    return y + rowHeight;
}

Places placesOf(const zustd::Control& parent) {
    Places places;
    for (const auto& child : parent.children()) {
        places.push_back(child->boundary());
    }
    return places;
}

void requireSamePlaces(const zustd::Control& parent, std::int32_t width, const char* what) {
    Places places = placesOf(parent);
    placePlainly(places, width);
    require(places == placesOf(parent), what);
}

// What is left of a layout when its result is known: every child is given its place.
class PlacesByHand {
public:
    PlacesByHand(zustd::Control& parent, std::int32_t width, std::int32_t otherWidth)
        : parent_(parent), rounds_{placesOf(parent), placesOf(parent)} {
        placePlainly(rounds_[0], width);
        placePlainly(rounds_[1], otherWidth);
    }
    void give(int round) {
        const zustd::Rect* place = rounds_[round % 2].data();
        for (const auto& child : parent_.children()) {
            child->setBoundary(*place++);
        }
    }

private:
    zustd::Control& parent_;
    Places rounds_[2];
};

// The system's own word wrap, which measures the text each time, in a font of
// one width.
class SystemText {
public:
    SystemText() : text_(makeText()), context_(CreateCompatibleDC(nullptr)) {
        SelectObject(context_, GetStockObject(SYSTEM_FIXED_FONT));
        GetTextMetricsW(context_, &metrics_);
    }
    SystemText(const SystemText&) = delete;
    SystemText& operator=(const SystemText&) = delete;
    ~SystemText() { DeleteDC(context_); }

    long countLines(std::int32_t columns) {
        RECT area{0, 0, columns * metrics_.tmAveCharWidth, 0};
        DrawTextW(context_, text_.c_str(), static_cast<int>(text_.size()), &area,
                  DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX);
        return area.bottom / metrics_.tmHeight;
    }

private:
    std::wstring text_;
    HDC context_;
    TEXTMETRICW metrics_{};
};

// --- Words -----------------------------------------------------------------------------------

// A view on a surface of the recording backend.
class WordView {
public:
    WordView() {
        view_->setWordWrap(true);
        window_->synchronizeTree();
        window_->addChild(view_);
        view_->setMarkup(makeText());
        resize(0);
        require(view_->children().size() == kWords, "words of the view");
        requireSamePlaces(*view_, columnsOf(0) * kCharWidth, "places of the words");
        require(fastestResize() < kFrame, "resize of the words within a frame");
    }

    void resize(int round) {
        view_->setBoundary({0, 0, columnsOf(round) * kCharWidth - 1, 9999});
        // It keeps what it was asked to show.
        zustd::test::told();
    }
    std::int32_t height() { return view_->children().back()->boundary().bottom + 1; }

private:
    // Other load on the machine disturbs the fastest of some least.
    std::chrono::nanoseconds fastestResize() {
        auto fastest = std::chrono::nanoseconds::max();
        for (int round = 1; round <= 10; ++round) {
            const auto start = std::chrono::steady_clock::now();
            resize(round);
            fastest = std::min<std::chrono::nanoseconds>(fastest,
                                                         std::chrono::steady_clock::now() - start);
        }
        resize(0);
        return fastest;
    }

    std::shared_ptr<zustd::WindowService> host_ = zustd::test::makeRecordingWindowService();
    std::shared_ptr<zustd::NativeWindow> window_ = host_->createNativeWindow();
    std::shared_ptr<zustd::MarkupView> view_ = zustd::makeControl<zustd::MarkupView>();
};

void resizeView(benchmark::State& state) {
    WordView view;
    int round = 0;
    for (auto _ : state) {
        view.resize(++round);
        benchmark::DoNotOptimize(view.height());
    }
}

void wrapSystemText(benchmark::State& state) {
    SystemText text;
    // Blanks at the end of a line count here and not there: a few more words
    // fit into a line of theirs.
    const long lines = WordView().height() / 16;
    const long theirs = text.countLines(columnsOf(0));
    require(theirs > lines * 95 / 100 && theirs <= lines, "lines of the text");
    int round = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text.countLines(columnsOf(++round)));
    }
}

// --- Children --------------------------------------------------------------------------------

std::shared_ptr<zustd::Control> makeParent() {
    auto parent = zustd::makeControl<zustd::Control>();
    for (int i = 0; i < kChildren; ++i) {
        auto child = zustd::makeControl<zustd::Control>();
        child->setBoundary(zustd::Rect::at({0, 0}, {10 + i % 30, 10 + i % 7}));
        parent->addChild(child);
    }
    parent->setArrangement({.flow = zustd::Flow::kRows, .wrap = true, .measure = false});
    return parent;
}

void layOutChildren(benchmark::State& state) {
    const auto parent = makeParent();
    parent->setBoundary({0, 0, kArea - 1, 99});
    requireSamePlaces(*parent, kArea, "places of the children");
    int round = 0;
    for (auto _ : state) {
        parent->setBoundary({0, 0, kArea - 1 - (++round % 2), 99});
        benchmark::ClobberMemory();
    }
}

void placeChildren(benchmark::State& state) {
    const auto parent = makeParent();
    PlacesByHand places(*parent, kArea, kArea - 1);
    int round = 0;
    for (auto _ : state) {
        places.give(++round);
        benchmark::ClobberMemory();
    }
}

}  // namespace

void addLayoutRows() {
    addOurs("resize 10000 words", resizeView);
    addPeer("resize 10000 words", "DrawText", wrapSystemText);
    addOurs("arrange 100000", layOutChildren);
    addPeer("arrange 100000", "places by hand", placeChildren);
}

}  // namespace bench
