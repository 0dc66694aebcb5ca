#ifndef TTMENU_H
#define TTMENU_H

#include <QMenu>

// A menu type of its own, so that menus of the frame can be told apart by class.
class TTMenu : public QMenu
{
    Q_OBJECT

public:
    using QMenu::QMenu;
};

#endif // TTMENU_H
