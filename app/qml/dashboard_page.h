#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

// The pages of the dashboard's window, in the order the window stacks them; a running module
// shows over them.
namespace DashboardPage {
Q_NAMESPACE
QML_ELEMENT

enum Page { Home, Cloud, Resources, Settings };
Q_ENUM_NS(Page)

} // namespace DashboardPage
