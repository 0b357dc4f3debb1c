#include "start_shell.h"

#include "window_shell.h"

#include <QQuickWindow>
#include <QSGNode>
#include <QSGRectangleNode>

StartShell::StartShell(bool dark, QQuickItem *parent) : QQuickItem(parent), m_dark(dark)
{
    setFlag(ItemHasContents);
    connect(parent, &QQuickItem::widthChanged, this, &StartShell::fillParent);
    connect(parent, &QQuickItem::heightChanged, this, &StartShell::fillParent);
    fillParent();
}

QColor StartShell::windowColor() const
{
    return WindowShell::windowColor(m_dark);
}

QColor StartShell::sideBarColor() const
{
    return WindowShell::sideBarColor(m_dark);
}

void StartShell::fillParent()
{
    setSize(parentItem()->size());
    update();
}

QSGNode *StartShell::updatePaintNode(QSGNode *node, UpdatePaintNodeData *)
{
    if (!node) {
        node = new QSGNode;
        for (const QColor &color : { windowColor(), sideBarColor() }) {
            QSGRectangleNode *part = window()->createRectangleNode();
            part->setColor(color);
            node->appendChildNode(part);
        }
    }
    const QRectF page = boundingRect();
    static_cast<QSGRectangleNode *>(node->firstChild())->setRect(page);
    static_cast<QSGRectangleNode *>(node->lastChild())->setRect(
            QRectF(page.topLeft(), QSizeF(qMin<qreal>(WindowShell::SIDE_BAR_MINIMUM_WIDTH, page.width()), page.height())));
    return node;
}
