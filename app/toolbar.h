#pragma once

class QToolBar;

// What the layout does not say of a tool bar: its buttons are reached by Tab, show no
// keys of menus in their tool tips, and show their icons as they were drawn.
void prepareToolBar(QToolBar &toolBar);
