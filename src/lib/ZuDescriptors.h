// What a widget shows, described apart from the widget: fonts, texts, colours and images.
//
// A descriptor is a shared object. Many controls may hold the same one, and whoever changes it
// changes them all: every setter counts the change and announces it as
// ChangeTracker::kPropertyChanged with the field's name; an unchanged assignment does neither.
// Controls listen to the descriptors that they are given and show the change at once.
//
// A descriptor names a resource, it does not hold one. Texts are looked up in the language of the
// moment, fonts and images are made and cached by the window service.
#pragma once

#include "ZuChangeTracker.h"
#include "ZuGeometry.h"
#include "ZuPlankton.h"
#include "ZuServiceLocator.h"

namespace zustd {

enum class ResourceKind : std::uint32_t { kNone, kString, kBitmap };

// A resource that somebody asks for. Identifier 0 names none.
struct ResourceDescriptor {
    std::uint64_t identifier = 0;
    ResourceKind kind = ResourceKind::kNone;

    friend bool operator==(const ResourceDescriptor&, const ResourceDescriptor&) = default;
};

// The base of descriptors.
class Descriptor : public ChangeTracker {
protected:
    // Assigns and announces; whether there was a change.
    template <class T>
    bool assign(T& field, const T& value, const wchar_t* name) {
        if (field == value) {
            return false;
        }
        field = value;
        announcePropertyChanged(name, false);
        return true;
    }
};

// --- Fonts -------------------------------------------------------------------

// The properties of a font, as a value to compare and to cache by.
struct FontStyle {
    bool underline = false;
    bool bold = false;
    bool italic = false;
    // In points of 1/72 inch; 0 for the size of the text in the system's own windows.
    std::int32_t size = 0;
    // Empty for the face of that text.
    std::wstring faceName;

    // In any order. The checker takes the zero that the compiler compares with for a pointer.
    // NOLINTNEXTLINE(modernize-use-nullptr)
    friend auto operator<=>(const FontStyle&, const FontStyle&) = default;
};

// A font by its style, shared by whatever is written in it.
class FontDescriptor : public Descriptor {
public:
    static constexpr std::int32_t kDefaultSize = 11;

    FontDescriptor() = default;
    explicit FontDescriptor(FontStyle style) : style_(std::move(style)) {}

    const FontStyle& style() const noexcept { return style_; }

    // Each returns whether anything changed.
    bool setUnderline(bool underline) { return assign(style_.underline, underline, L"underline"); }
    bool setBold(bool bold) { return assign(style_.bold, bold, L"bold"); }
    bool setItalic(bool italic) { return assign(style_.italic, italic, L"italic"); }
    bool setSize(std::int32_t points) { return assign(style_.size, points, L"size"); }
    bool setFaceName(const std::wstring& face) {
        return assign(style_.faceName, face, L"faceName");
    }
    // Flags off and the default size; the face stays.
    bool reset() {
        return assign(style_, {.size = kDefaultSize, .faceName = style_.faceName}, L"style");
    }

private:
    FontStyle style_{.size = kDefaultSize, .faceName = {}};
};

// --- Texts -------------------------------------------------------------------

// A text as it stands, or the number of a text in the string tables.
class TextDescriptor : public Descriptor {
public:
    TextDescriptor() = default;
    explicit TextDescriptor(std::wstring literal) : literal_(std::move(literal)) {}

    // The text for this place in the registry. A numbered text is looked up
    // through the resource service; it is empty when there is no service, when
    // that has chosen no namespace, or when there is no such text.
    std::wstring text(const ServiceLocator& locator) const;

    bool isEmpty() const noexcept { return literal_.empty() && resource_.identifier == 0; }
    const std::wstring& literal() const noexcept { return literal_; }
    const ResourceDescriptor& resource() const noexcept { return resource_; }

    // Each takes the other's place. Returns whether anything changed.
    bool setLiteral(const std::wstring& text) { return show({}, text); }
    bool setIdentifier(std::uint64_t identifier) {
        return show({identifier, ResourceKind::kString}, {});
    }

private:
    bool show(const ResourceDescriptor& resource, const std::wstring& literal);

    std::wstring literal_;
    ResourceDescriptor resource_;
};

// --- Colours -----------------------------------------------------------------

// A colour of 8 bits a channel, or none. What none means is up to its use:
// mostly the system's own colour, for backgrounds no painting at all.
struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    bool isSet = false;

    // A colour that is set.
    static constexpr Color rgb(std::uint8_t red, std::uint8_t green, std::uint8_t blue) noexcept {
        return {red, green, blue, true};
    }
    static constexpr Color black() noexcept { return rgb(0, 0, 0); }

    friend constexpr bool operator==(const Color&, const Color&) = default;
};

enum class ColorRole : std::size_t {
    kText,
    kBackground,
    kDisabledText,
    kSelectedBackground,
    kHoverText,
    kHoverBackground,
    kBorder,
    kLink,
    kHoverLink,
};
inline constexpr std::size_t kColorRoleCount = 9;

// A control's colours by their roles.
class ColorsDescriptor : public Descriptor {
public:
    // None for a role that was not given one.
    Color color(ColorRole role) const noexcept { return colors_[static_cast<std::size_t>(role)]; }
    // Returns whether anything changed.
    bool setColor(ColorRole role, Color color) {
        return assign(colors_[static_cast<std::size_t>(role)], color, L"color");
    }

private:
    Color colors_[kColorRoleCount];
};

// --- Images ------------------------------------------------------------------

// One image at one size.
class BitmapDescriptor : public Descriptor {
public:
    BitmapDescriptor() = default;
    explicit BitmapDescriptor(std::uint64_t identifier, Size size = {})
        : resource_{identifier, ResourceKind::kBitmap}, size_(size) {}

    const ResourceDescriptor& resource() const noexcept { return resource_; }
    // In pixels at a scaling factor of 1; empty for the image's own size.
    Size size() const noexcept { return size_; }

    // Each returns whether anything changed.
    bool setIdentifier(std::uint64_t identifier) {
        return assign(resource_, {identifier, ResourceKind::kBitmap}, L"identifier");
    }
    bool setSize(Size size) { return assign(size_, size, L"size"); }

private:
    ResourceDescriptor resource_;
    Size size_;
};

// The images of a tree or grid, all at one size; rows name them by index.
class BitmapListDescriptor : public Descriptor {
public:
    BitmapListDescriptor() = default;
    BitmapListDescriptor(std::vector<std::uint64_t> identifiers, Size size)
        : identifiers_(std::move(identifiers)), size_(size) {}

    const std::vector<std::uint64_t>& identifiers() const noexcept { return identifiers_; }
    // In pixels at a scaling factor of 1.
    Size size() const noexcept { return size_; }

    bool setSize(Size size) { return assign(size_, size, L"size"); }

private:
    std::vector<std::uint64_t> identifiers_;
    Size size_{16, 16};
};

// As controls hold them: shared with others, and null where there is none.
using FontRef = std::shared_ptr<FontDescriptor>;
using TextRef = std::shared_ptr<TextDescriptor>;
using ColorsRef = std::shared_ptr<ColorsDescriptor>;
using BitmapRef = std::shared_ptr<BitmapDescriptor>;
using BitmapListRef = std::shared_ptr<BitmapListDescriptor>;

// The system's own where there is none.
inline FontStyle styleOf(const FontRef& font) { return font ? font->style() : FontStyle(); }

// What a descriptor that must be there is; null fails the assertion of that name.
template <class D>
D& required(const std::shared_ptr<D>& descriptor, const wchar_t* member, const SourcePlace& place) {
    ZU_ASSERT_AS(descriptor, member, place);
    return *descriptor;
}
// What a getter without a choice gives.
#define ZU_REQUIRED(member) ::zustd::required(member, L"" #member, ZU_HERE)

}  // namespace zustd
