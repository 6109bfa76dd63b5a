// A native drop-down list, with or without a field to type into.
//
// The items are owned here. As for a grid's rows every change goes through the backend's slot: a
// backend derives from ComboBoxImplementation.
#pragma once

#include "ZuControl.h"

namespace zustd {

// What a backend does for a combo box. Slot order is fixed. An index past the
// end names nothing: nothing is done, the empty text is returned.
class INativeComboBoxImpl : public IBackend {
public:
    // The new item's index.
    virtual std::size_t addItem(const std::wstring& text) = 0;
    virtual void removeItem(std::size_t index) = 0;
    virtual void clear() = 0;
    // kNullSize selects nothing.
    virtual void selectItem(std::size_t index) = 0;
    virtual std::size_t getSelectedItem() const = 0;
    virtual std::wstring getItemText(std::size_t index) const = 0;
    virtual std::size_t getItemCount() const = 0;
};

class NativeComboBox : public NativeControl<INativeComboBoxImpl> {
public:
    // First word: the combo box. By the user alone; second word: the index, or kNullSize.
    static const MessageKind kSelectionChanged;
    // By the user or by setText().
    static const MessageKind kTextChanged;

    NativeComboBox() { setFocusable(true); }
    ~NativeComboBox() override { releaseImplementation(); }

    // What stands in the field while nothing is selected or typed. Fails the
    // assertion "caption_" when there is none.
    TextDescriptor& caption() const { return ZU_REQUIRED(caption_); }
    bool hasCaption() const noexcept { return caption_ != nullptr; }
    bool setCaption(const TextRef& caption) { return changeDescriptor(caption_, caption); }
    // May be null.
    const FontRef& font() const noexcept { return font_; }
    bool setFont(const FontRef& font) { return changeDescriptor(font_, font); }
    bool isEditable() const noexcept { return editable_; }
    // A native object is made anew. A text that is no item goes with the field.
    bool setEditable(bool editable);
    // What the field holds: the selected item's text or what was typed.
    const std::wstring& text() const noexcept { return text_; }
    // Selects the first item with exactly this text, or none. Without a field
    // a text that is neither empty nor an item is refused.
    bool setText(const std::wstring& text);

    // The seven operations; each fails the assertion "impl_" without backend.
    // A selection by the program sends no message.
    std::size_t addItem(const std::wstring& text) { return implementation().addItem(text); }
    void removeItem(std::size_t index) { implementation().removeItem(index); }
    void clear() { implementation().clear(); }
    void selectItem(std::size_t index) { implementation().selectItem(index); }
    std::size_t getSelectedItem() const { return implementation().getSelectedItem(); }
    auto getItemText(std::size_t index) const { return implementation().getItemText(index); }
    std::size_t getItemCount() const { return implementation().getItemCount(); }
    // The first item with exactly this text, or kNullSize.
    std::size_t findItem(const std::wstring& text) const;

    Size preferredSize() override;

    // For the backend: all items; what the user did. The messages are sent without synchronising.
    const std::vector<std::wstring>& items() const noexcept { return items_; }
    void acceptSelection(std::size_t index);
    void acceptText(const std::wstring& text) {
        if (std::exchange(text_, text) != text) {
            notify(kTextChanged);
        }
    }

private:
    friend class ComboBoxImplementation;

    // kNullSize for an index past the end.
    std::size_t known(std::size_t index) const noexcept {
        return index < items_.size() ? index : kNullSize;
    }
    bool canShow(const std::wstring& text) const {
        return editable_ || text.empty() || findItem(text) != kNullSize;
    }

    TextRef caption_;
    FontRef font_;
    std::vector<std::wstring> items_;
    std::wstring text_;
    std::size_t selected_ = kNullSize;
    bool editable_ = false;
};

// The portable part of every backend. Mirror operations are called when there is a
// native object, and let no failure out.
class ComboBoxImplementation : public Implementation<NativeComboBox, INativeComboBoxImpl> {
public:
    std::size_t addItem(const std::wstring& text) override;
    void removeItem(std::size_t index) override;
    void clear() override;
    void selectItem(std::size_t index) override;
    std::size_t getSelectedItem() const override { return getAbstraction().selected_; }
    std::wstring getItemText(std::size_t index) const override {
        const NativeComboBox& box = getAbstraction();
        return box.known(index) != kNullSize ? box.items_[index] : std::wstring();
    }
    std::size_t getItemCount() const override { return getAbstraction().items_.size(); }

protected:
    // The list has changed so; the index is the new or the former one.
    virtual void mirrorAdded(std::size_t index) = 0;
    virtual void mirrorRemoved(std::size_t index) = 0;
    virtual void mirrorCleared() = 0;
    // Selection and text of the field.
    virtual void mirrorSelection() = 0;
};

}  // namespace zustd
