// The interactive menus.
#pragma once

namespace zuplutil {

// Shows the main menu and does what is chosen, until the user leaves.
void mainMenu();
// The same for the ways of collecting diagnostics.
void diagnosticsMenu();

// A collection around a fresh debug log: the user starts Outlook, tries what
// goes wrong, and shuts it down again.
void guidedCollection();

}  // namespace zuplutil
