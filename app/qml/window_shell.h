#pragma once

#include <QColor>
#include <QObject>
#include <QtQml/qqmlregistration.h>

// The look of the window's first frame, which is drawn before the QML engine exists: the page
// background and the side bar. The theme takes these from here, so the first frame and the
// front end that follows it always agree.
class WindowShell : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(int sideBarMinimumWidth READ sideBarMinimumWidth CONSTANT)

public:
    using QObject::QObject;

    Q_INVOKABLE static QColor windowColor(bool dark) { return QColor(dark ? 0x14161b : 0xf3f4f6); }
    Q_INVOKABLE static QColor sideBarColor(bool dark) { return QColor(dark ? 0x0f1115 : 0x1f2630); }
    // Wide enough for the English names, so the side bar does not move when the front end comes.
    static constexpr int SIDE_BAR_MINIMUM_WIDTH = 232;
    static int sideBarMinimumWidth() { return SIDE_BAR_MINIMUM_WIDTH; }
};
