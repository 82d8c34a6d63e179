// SPDX-License-Identifier: MIT
#pragma once

namespace lightpen {

// Has panels open the menu of this process's status item at a plain click, as they do at one with the other
// button. Qt's item on the session bus says that it is more than its menu; panels then tell it of the click,
// and under Wayland no client may open a menu at the pointer. Does nothing where there is no such item, and
// once for each. Main thread, before panels have asked: in the turn of the loop in which the item was shown.
void sayThatItemsAreMenus();

} // namespace lightpen
