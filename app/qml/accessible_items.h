#pragma once

#include <QAccessible>

class QObject;
class QString;

// What Qt Quick's own accessible items cannot say in Qt 6.4, said by interfaces of the front
// end's own for three kinds of item:
//  - a text field a screen reader can write to (Qt's item only lets it read the text);
//  - a scroll bar, whose Increase and Decrease actions Qt's item lists twice;
//  - a control that opens a popup (a menu button, a list to choose from) and says whether it
//    is open: the item declares `property bool accessibleExpanded`, and is pressed through its
//    `function accessiblePressAction()` or else its `Accessible.onPressAction` handler.
// Everything else they say (name, description, role, the states set through `Accessible`)
// comes from the item's `Accessible` properties, as with Qt's items, so the QML stays the one
// place that names things. Installed by the host before the front end's first item is read.
namespace AccessibleItems {

// The name of the property an item declares to say that it opens a popup, and whether it is
// open now.
inline constexpr char expandedProperty[] = "accessibleExpanded";

// The interface for object when it is one of those kinds, else nullptr (Qt's own applies).
QAccessibleInterface *factory(const QString &className, QObject *object);

// Installs factory for the life of the object; the last one alive removes it (Qt keeps a
// factory once, however often it is installed).
class Installation
{
public:
    Installation();
    ~Installation();
    Installation(const Installation &) = delete;
    Installation &operator=(const Installation &) = delete;
};

} // namespace AccessibleItems
