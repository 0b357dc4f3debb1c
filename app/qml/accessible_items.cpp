#include "accessible_items.h"

#include <QAccessibleObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace AccessibleItems {
namespace {

// The object behind an item's `Accessible` properties, a child of the item; there is none for
// an item Qt Quick does not list in the tree.
QObject *attachedProperties(const QQuickItem *item)
{
    for (QObject *child : item->children()) {
        if (child->inherits("QQuickAccessibleAttached"))
            return child;
    }
    return nullptr;
}

enum class Kind { None, TextInput, ScrollBar, Expandable };

Kind kindOf(const QQuickItem *item)
{
    if (item->inherits("QQuickTextInput"))
        return Kind::TextInput;
    if (item->inherits("QQuickScrollBar"))
        return Kind::ScrollBar;
    if (item->metaObject()->indexOfProperty(expandedProperty) >= 0)
        return Kind::Expandable;
    return Kind::None;
}

bool invokeIfPresent(QObject *object, const char *signature, const char *name)
{
    if (object->metaObject()->indexOfMethod(signature) < 0)
        return false;
    return QMetaObject::invokeMethod(object, name);
}

// An item of the front end told through its `Accessible` properties, as Qt's items are, with
// no children: these are all controls Qt Quick lists as leaves.
class QuickItemInterface : public QAccessibleObject, public QAccessibleActionInterface
{
public:
    QuickItemInterface(QQuickItem *item, QObject *attached)
        : QAccessibleObject(item), m_attached(attached)
    {
    }

    QQuickItem *item() const { return static_cast<QQuickItem *>(object()); }

    bool isValid() const override { return QAccessibleObject::isValid() && m_attached; }

    QWindow *window() const override { return item()->window(); }

    QAccessibleInterface *parent() const override
    {
        // The nearest ancestor in the tree; the window stands for its content item, which is
        // not in it.
        QQuickWindow *window = item()->window();
        const QQuickItem *content = window ? window->contentItem() : nullptr;
        for (QQuickItem *ancestor = item()->parentItem(); ancestor; ancestor = ancestor->parentItem()) {
            if (ancestor == content)
                return QAccessible::queryAccessibleInterface(window);
            if (QAccessibleInterface *found = QAccessible::queryAccessibleInterface(ancestor))
                return found;
        }
        return nullptr;
    }

    QAccessibleInterface *child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface *) const override { return -1; }
    QAccessibleInterface *childAt(int, int) const override { return nullptr; }

    QRect rect() const override
    {
        const QQuickItem *it = item();
        if (!it->window() || !it->isVisible() || qFuzzyIsNull(it->opacity()))
            return QRect();
        const QRectF scene = it->mapRectToScene(QRectF(0, 0, it->width(), it->height()));
        return QRect(it->window()->mapToGlobal(scene.topLeft().toPoint()), scene.size().toSize());
    }

    QAccessible::Role role() const override
    {
        const QVariant value = m_attached->property("role");
        if (value.metaType() == QMetaType::fromType<QAccessible::Role>())
            return value.value<QAccessible::Role>();
        bool ok = false;
        const int role = value.toInt(&ok);
        return ok ? QAccessible::Role(role) : QAccessible::Pane;
    }

    QString text(QAccessible::Text t) const override
    {
        switch (t) {
        case QAccessible::Name:
            return m_attached->property("name").toString();
        case QAccessible::Description:
            return m_attached->property("description").toString();
        default:
            return QString();
        }
    }

    QAccessible::State state() const override
    {
        QAccessible::State s;
        const auto flag = [this](const char *name) { return m_attached->property(name).toBool(); };
        s.checkable = flag("checkable");
        s.checked = flag("checked");
        s.editable = flag("editable");
        s.focusable = flag("focusable");
        s.focused = flag("focused");
        s.multiLine = flag("multiLine");
        s.readOnly = flag("readOnly");
        s.selected = flag("selected");
        s.selectable = flag("selectable");
        s.pressed = flag("pressed");
        s.checkStateMixed = flag("checkStateMixed");
        s.defaultButton = flag("defaultButton");
        s.passwordEdit = flag("passwordEdit");
        s.selectableText = flag("selectableText");
        s.searchEdit = flag("searchEdit");
        const QQuickItem *it = item();
        if (!it->window() || !it->window()->isVisible() || !it->isVisible() || qFuzzyIsNull(it->opacity()))
            s.invisible = true;
        if (it->activeFocusOnTab())
            s.focusable = true;
        if (it->hasActiveFocus())
            s.focused = true;
        return s;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ActionInterface)
            return static_cast<QAccessibleActionInterface *>(this);
        return QAccessibleObject::interface_cast(type);
    }

    QStringList actionNames() const override
    {
        QStringList names;
        if (pressable())
            names << pressAction();
        if (state().focusable)
            names << setFocusAction();
        return names;
    }

    void doAction(const QString &name) override
    {
        if (name == pressAction() && pressable()) {
            // The item's own press (a click) when it has one, else what its QML does on
            // `Accessible.onPressAction`.
            if (!invokeIfPresent(item(), "accessiblePressAction()", "accessiblePressAction"))
                QMetaObject::invokeMethod(m_attached, "pressAction");
        } else if (name == setFocusAction() && state().focusable) {
            item()->forceActiveFocus(Qt::OtherFocusReason);
        }
    }

    QStringList keyBindingsForAction(const QString &) const override { return {}; }

protected:
    virtual bool pressable() const
    {
        switch (role()) {
        case QAccessible::Button:
        case QAccessible::ButtonMenu:
        case QAccessible::MenuItem:
        case QAccessible::Link:
            return true;
        default:
            return false;
        }
    }

    QPointer<QObject> m_attached;
};

// A control that opens a popup and says whether it is open.
class ExpandableInterface : public QuickItemInterface
{
public:
    using QuickItemInterface::QuickItemInterface;

    QAccessible::State state() const override
    {
        QAccessible::State s = QuickItemInterface::state();
        const bool expanded = item()->property(expandedProperty).toBool();
        s.expandable = true;
        s.expanded = expanded;
        s.collapsed = !expanded;
        s.hasPopup = true;
        return s;
    }

protected:
    // Pressing it opens (or closes) what it opens, whatever its role.
    bool pressable() const override { return true; }
};

// A scroll bar: moved by its Increase and Decrease actions, listed once (Qt's item lists each
// twice), and its position as a value from 0 to 1 less the visible part.
class ScrollBarInterface : public QuickItemInterface, public QAccessibleValueInterface
{
public:
    using QuickItemInterface::QuickItemInterface;

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::ValueInterface)
            return static_cast<QAccessibleValueInterface *>(this);
        return QuickItemInterface::interface_cast(type);
    }

    QStringList actionNames() const override
    {
        QStringList names{ increaseAction(), decreaseAction() };
        if (state().focusable)
            names << setFocusAction();
        return names;
    }

    void doAction(const QString &name) override
    {
        if (name == increaseAction())
            QMetaObject::invokeMethod(item(), "increase");
        else if (name == decreaseAction())
            QMetaObject::invokeMethod(item(), "decrease");
        else
            QuickItemInterface::doAction(name);
    }

    // Drawn only when there is something to scroll, unless always on (its policy).
    QAccessible::State state() const override
    {
        QAccessible::State s = QuickItemInterface::state();
        const int policy = item()->property("policy").toInt();
        constexpr int asNeeded = 0, alwaysOff = 1;
        if (policy == alwaysOff || (policy == asNeeded && last() <= 0.0))
            s.invisible = true;
        return s;
    }

    QVariant currentValue() const override { return item()->property("position").toReal(); }
    void setCurrentValue(const QVariant &value) override
    {
        bool ok = false;
        const qreal position = value.toReal(&ok);
        if (ok && qIsFinite(position))
            item()->setProperty("position", qBound(0.0, position, last()));
    }
    QVariant maximumValue() const override { return last(); }
    QVariant minimumValue() const override { return 0.0; }
    QVariant minimumStepSize() const override { return item()->property("stepSize").toReal(); }

private:
    qreal last() const { return qMax(0.0, 1.0 - item()->property("size").toReal()); }
};

// A text field: read, and written, by a screen reader.
class TextInputInterface : public QuickItemInterface,
                           public QAccessibleTextInterface,
                           public QAccessibleEditableTextInterface
{
public:
    using QuickItemInterface::QuickItemInterface;

    QString text(QAccessible::Text t) const override
    {
        // A password reads as the field shows it: masked.
        if (t == QAccessible::Value)
            return item()->property(secret() ? "displayText" : "text").toString();
        return QuickItemInterface::text(t);
    }

    void setText(QAccessible::Text t, const QString &text) override
    {
        if (t == QAccessible::Value)
            replaceText(0, characterCount(), text);
    }

    QAccessible::State state() const override
    {
        QAccessible::State s = QuickItemInterface::state();
        s.readOnly = readOnly();
        s.editable = !s.readOnly;
        s.selectableText = true;
        s.passwordEdit = secret();
        return s;
    }

    void *interface_cast(QAccessible::InterfaceType type) override
    {
        if (type == QAccessible::TextInterface)
            return static_cast<QAccessibleTextInterface *>(this);
        if (type == QAccessible::EditableTextInterface)
            return readOnly() ? nullptr : static_cast<QAccessibleEditableTextInterface *>(this);
        return QuickItemInterface::interface_cast(type);
    }

    // Text
    void selection(int index, int *start, int *end) const override
    {
        *start = *end = 0;
        if (index == 0 && selectionCount() == 1) {
            *start = item()->property("selectionStart").toInt();
            *end = item()->property("selectionEnd").toInt();
        }
    }
    int selectionCount() const override
    {
        return item()->property("selectionStart").toInt() != item()->property("selectionEnd").toInt() ? 1 : 0;
    }
    void addSelection(int start, int end) override { setSelection(0, start, end); }
    void removeSelection(int index) override
    {
        if (index == 0)
            QMetaObject::invokeMethod(item(), "deselect");
    }
    void setSelection(int index, int start, int end) override
    {
        if (index != 0)
            return;
        const int count = characterCount();
        QMetaObject::invokeMethod(item(), "select", Q_ARG(int, qBound(0, start, count)),
                                  Q_ARG(int, qBound(0, end, count)));
    }
    int cursorPosition() const override { return item()->property("cursorPosition").toInt(); }
    void setCursorPosition(int position) override
    {
        item()->setProperty("cursorPosition", qBound(0, position, characterCount()));
    }
    QString text(int start, int end) const override
    {
        const QString all = text(QAccessible::Value);
        start = qBound(0, start, int(all.size()));
        end = end < 0 ? int(all.size()) : qBound(start, end, int(all.size()));
        return all.mid(start, end - start);
    }
    int characterCount() const override { return int(text(QAccessible::Value).size()); }
    QRect characterRect(int offset) const override
    {
        QRectF rect;
        QMetaObject::invokeMethod(item(), "positionToRectangle", Q_RETURN_ARG(QRectF, rect),
                                  Q_ARG(int, qBound(0, offset, characterCount())));
        if (!item()->window())
            return QRect();
        const QRectF scene = item()->mapRectToScene(rect);
        return QRect(item()->window()->mapToGlobal(scene.topLeft().toPoint()), scene.size().toSize());
    }
    int offsetAtPoint(const QPoint &point) const override
    {
        if (!item()->window())
            return -1;
        const QPointF local = item()->mapFromScene(item()->window()->mapFromGlobal(point));
        int position = -1;
        QMetaObject::invokeMethod(item(), "positionAt", Q_RETURN_ARG(int, position),
                                  Q_ARG(qreal, local.x()), Q_ARG(qreal, local.y()));
        return position;
    }
    // Qt's default reading by words and sentences can loop for ever near the end of a text, and
    // any program on the accessibility bus can ask for it: these cut the text once instead.
    QString textBeforeOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const override
    {
        return piece(offset, -1, type, start, end);
    }
    QString textAfterOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const override
    {
        return piece(offset, 1, type, start, end);
    }
    QString textAtOffset(int offset, QAccessible::TextBoundaryType type, int *start, int *end) const override
    {
        return piece(offset, 0, type, start, end);
    }
    void scrollToSubstring(int, int) override {}
    QString attributes(int offset, int *start, int *end) const override
    {
        *start = *end = offset;
        return QString();
    }

    // Editable text: what a person could type, so a read-only field takes none of it.
    void deleteText(int start, int end) override
    {
        if (readOnly())
            return;
        QMetaObject::invokeMethod(item(), "remove", Q_ARG(int, start), Q_ARG(int, end));
    }
    void insertText(int offset, const QString &text) override
    {
        if (readOnly())
            return;
        QMetaObject::invokeMethod(item(), "insert", Q_ARG(int, qBound(0, offset, characterCount())),
                                  Q_ARG(QString, text));
    }
    void replaceText(int start, int end, const QString &text) override
    {
        deleteText(start, end);
        insertText(qMin(start, end), text);
    }

private:
    // The piece of the text (a character, word, sentence, or all of it) that holds offset, or
    // the one shift pieces away; an empty one, at the text's start or end, past either end.
    QString piece(int offset, int shift, QAccessible::TextBoundaryType type, int *start, int *end) const
    {
        const QString all = text(QAccessible::Value);
        const QList<int> cuts = cutsOf(all, type);
        // Index of the piece holding offset; the end of the text holds none.
        const int holding = int(std::upper_bound(cuts.cbegin(), cuts.cend(), boundedOffset(offset)) - cuts.cbegin()) - 1;
        const int index = holding + shift;
        if (index < 0 || index >= cuts.size() - 1) {
            *start = *end = index < 0 ? 0 : int(all.size());
            return QString();
        }
        *start = cuts.at(index);
        *end = cuts.at(index + 1);
        return all.mid(*start, *end - *start);
    }
    static QList<int> cutsOf(const QString &all, QAccessible::TextBoundaryType type)
    {
        QList<int> cuts{ 0 };
        QTextBoundaryFinder::BoundaryType finderType;
        switch (type) {
        case QAccessible::CharBoundary:
            finderType = QTextBoundaryFinder::Grapheme;
            break;
        case QAccessible::WordBoundary:
            finderType = QTextBoundaryFinder::Word;
            break;
        case QAccessible::SentenceBoundary:
            finderType = QTextBoundaryFinder::Sentence;
            break;
        default:
            // One line, one paragraph.
            if (!all.isEmpty())
                cuts << int(all.size());
            return cuts;
        }
        QTextBoundaryFinder finder(finderType, all);
        for (qsizetype at = finder.toNextBoundary(); at > cuts.last() && at <= all.size(); at = finder.toNextBoundary())
            cuts << int(at);
        if (cuts.last() != all.size())
            cuts << int(all.size());
        return cuts;
    }
    // -1 stands for the end of the text, as the callers mean it.
    int boundedOffset(int offset) const
    {
        const int count = characterCount();
        return offset == -1 ? count : qBound(0, offset, count);
    }
    bool readOnly() const { return item()->property("readOnly").toBool() || !item()->isEnabled(); }
    // Only Normal echo shows what was typed.
    bool secret() const { return item()->property("echoMode").toInt() != 0; }
};

} // namespace

QAccessibleInterface *factory(const QString &className, QObject *object)
{
    // Asked once per class of the object's hierarchy, most derived first: answer there, so
    // that Qt's item (asked for "QQuickItem") stays the answer for every other item.
    if (!object || className != QLatin1String(object->metaObject()->className()))
        return nullptr;
    auto *item = qobject_cast<QQuickItem *>(object);
    if (!item)
        return nullptr;
    // The kind first: most items are none of them, and Qt asks again for those each time.
    const Kind kind = kindOf(item);
    QObject *attached = kind == Kind::None ? nullptr : attachedProperties(item);
    if (!attached)
        return nullptr;
    switch (kind) {
    case Kind::TextInput:
        return new TextInputInterface(item, attached);
    case Kind::ScrollBar:
        return new ScrollBarInterface(item, attached);
    case Kind::Expandable:
        return new ExpandableInterface(item, attached);
    case Kind::None:
        break;
    }
    return nullptr;
}

static int s_installations = 0;

Installation::Installation()
{
    if (s_installations++ == 0)
        QAccessible::installFactory(&factory);
}

Installation::~Installation()
{
    if (--s_installations == 0)
        QAccessible::removeFactory(&factory);
}

} // namespace AccessibleItems
