#include "Pages.h"
#include "ZuNativeButton.h"
#include "ZuNativeDialog.h"
#include "ZuNativePopupMenu.h"
#include "ZuNativeTextBox.h"
#include "ZuWindows.h"

namespace zustd::gallery {

namespace {

constexpr std::uint64_t kImageFolder = 120;
constexpr std::uint64_t kImageMessage = 100;

void fillWithKeys(NativePopupMenu& menu) {
    menu.addItem(1, L"&Open\tEnter");
    menu.addItem(2, L"&Disabled\tCtrl+D");
    menu.addItem(3, L"&Checked\tF4");
    menu.addSeparator();
    menu.addItem(4, L"&More");
    menu.addItem(5, L"Last");
    menu.findItem(2)->enabled = false;
    menu.findItem(3)->checked = true;
    PopupMenuItem below;
    below.identifier = 6;
    below.caption = L"Below";
    menu.findItem(4)->items = {below};
}

// Apart from the keys, which Wine draws over captions that an image moves.
void fillWithImages(NativePopupMenu& menu) {
    menu.addItem(1, L"&Folder");
    menu.addItem(2, L"&Message");
    menu.addItem(3, L"&Neither");
    menu.findItem(1)->bitmap = kImageFolder;
    menu.findItem(2)->bitmap = kImageMessage;
}

void addMenu(PageBuilder& builder, const wchar_t* caption, const wchar_t* name,
             void (*fill)(NativePopupMenu& menu)) {
    WindowService& windows = builder.windows();
    builder.scene(caption, {name,
                            [&windows, fill] {
                                const auto menu = windows.createNativePopupMenu();
                                fill(*menu);
                                menu->show(windows.getClientPosition().movedBy({200, 120}));
                            },
                            [] { EndMenu(); }});
}

// A dialog of a label, a field and two buttons.
std::shared_ptr<NativeDialog> makeDialog(WindowService& windows) {
    auto dialog = windows.createNativeDialog();
    dialog->setCaption(literal(L"A dialog"));
    PageBuilder builder(windows, *dialog);
    builder.section(L"Save under another name");
    builder.add(windows.createNativeTextBox(), {240, 24})->setText(L"Name");
    builder.section(L"");
    const auto ok = builder.add(windows.createNativeButton());
    ok->setCaption(numbered(kStringOk));
    const auto cancel = builder.add(windows.createNativeButton());
    cancel->setCaption(numbered(kStringCancel));
    // The dialog holds the buttons, which hold the handlers.
    NativeDialog* shown = dialog.get();
    builder.on(*ok, NativeButton::kLeftClicked, [shown](MessageWord) { shown->hide(kAnswerOk); });
    builder.on(*cancel, NativeButton::kLeftClicked,
               [shown](MessageWord) { shown->hide(kAnswerCancel); });
    dialog->setDefaultButton(ok);
    builder.finish();
    dialog->setSize(dialog->preferredSize());
    return dialog;
}

struct Message {
    const wchar_t* name;
    const wchar_t* caption;
    const wchar_t* text;
    void (*show)(WindowService& windows, const Message& message, const std::wstring& key);
};

template <std::uint32_t style>
void tell(WindowService& windows, const Message& message, const std::wstring& key) {
    windows.showMessage(message.text, message.caption, style, key);
}

template <auto operation>
void ask(WindowService& windows, const Message& message, const std::wstring& key) {
    (windows.*operation)(message.text, message.caption, key);
}

constexpr Message kMessages[] = {
    {L"message-ok", L"Information", L"Everything has been done.",
     &tell<kMessageOk | kMessageIconInformation>},
    {L"message-ok-cancel", L"OK or cancel", L"The folder is almost full.\n\nDo you want to go on?",
     &ask<&WindowService::askOKCancel>},
    {L"message-error", L"Error",
     L"Could not open this item. Perhaps it was moved to another folder, or somebody else has "
     L"deleted it since this list was made. Look for it in the folder of deleted items.",
     &tell<kMessageOk | kMessageIconError>},
    {L"message-question", L"Yes or no", L"Do you want to delete the rule \u201CInvoices\u201D?",
     &ask<&WindowService::askYesNo>},
    {L"message-three", L"Three answers", L"Do you want to save the changes?",
     &ask<&WindowService::askYesNoCancel>},
};

void addMessages(PageBuilder& builder) {
    for (const Message& message : kMessages) {
        WindowService& windows = builder.windows();
        builder.scene(message.caption, {message.name,
                                        [&windows, &message] {
                                            message.show(windows, message,
                                                         std::wstring(L"gallery.") + message.name);
                                        },
                                        [&windows] { windows.closeMessage(kAnswerCancel); }});
        if (&message == &kMessages[2]) {
            builder.breakLine();
        }
    }
}

}  // namespace

void buildDialogs(PageBuilder& builder) {
    WindowService& windows = builder.windows();
    builder.section(L"Popup menus");
    addMenu(builder, L"With keys", L"menu", &fillWithKeys);
    addMenu(builder, L"With images", L"menu-images", &fillWithImages);
    builder.section(L"Dialogs");
    const auto open = std::make_shared<std::weak_ptr<NativeDialog>>();
    builder.scene(L"Dialog", {L"dialog",
                              [&windows, open] {
                                  const auto dialog = makeDialog(windows);
                                  *open = dialog;
                                  dialog->show(true);
                              },
                              [open] {
                                  if (const auto dialog = open->lock()) {
                                      dialog->hide(kAnswerCancel);
                                  }
                              }});
    builder.section(L"Message boxes");
    addMessages(builder);
}

}  // namespace zustd::gallery
