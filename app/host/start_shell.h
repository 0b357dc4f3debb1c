#pragma once

#include <QColor>
#include <QQuickItem>

// The window's content until the front end is made: the page background and the side bar in
// the user's theme, drawn by the scene graph alone, so the window is on screen before the QML
// engine exists. It fills its parent.
class StartShell : public QQuickItem
{
    Q_OBJECT
    Q_PROPERTY(bool dark READ dark CONSTANT)
    Q_PROPERTY(QColor windowColor READ windowColor CONSTANT)
    Q_PROPERTY(QColor sideBarColor READ sideBarColor CONSTANT)

public:
    StartShell(bool dark, QQuickItem *parent);

    bool dark() const { return m_dark; }
    QColor windowColor() const;
    QColor sideBarColor() const;

protected:
    QSGNode *updatePaintNode(QSGNode *node, UpdatePaintNodeData *data) override;

private:
    void fillParent();

    const bool m_dark;
};
