// The front end's own accessible items: which items get them, that they sit in Qt Quick's tree
// where Qt's own item would, that a screen reader can write a text field as a person types it
// (and not a read-only one), and that a control opening a popup says whether it is open.
#include "accessible_items.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace {

// Qt's controls give themselves their roles only while a screen reader is on, which the offscreen
// platform never says; here they are given as the controls would give them.
const QByteArray document = R"(
import QtQuick
import QtQuick.Controls

Item {
    width: 480
    height: 320
    Rectangle {
        objectName: "group"
        Accessible.role: Accessible.Grouping
        Accessible.name: "Tools"
        width: parent.width
        height: parent.height
        Item {
            // Not in the tree: its children are the group's.
            Column {
                TextField { objectName: "field"; Accessible.role: Accessible.EditableText; Accessible.name: "Search"; text: "abc" }
                TextField {
                    objectName: "fixed"; Accessible.role: Accessible.EditableText; Accessible.name: "Fixed"
                    readOnly: true; text: "fixed"
                }
                TextField {
                    objectName: "secret"; Accessible.role: Accessible.EditableText; Accessible.name: "Secret"
                    echoMode: TextInput.Password; passwordCharacter: "*"; text: "hunter2"
                }
                Button { objectName: "plain"; Accessible.name: "Plain"; text: "Plain" }
                Button {
                    id: more
                    objectName: "more"
                    Accessible.role: Accessible.ButtonMenu
                    Accessible.name: "More"
                    property bool accessibleExpanded: menu.visible
                    // Pressed through a function of its own, as the side bar's buttons are.
                    function accessiblePressAction() { more.clicked() }
                    onClicked: menu.open()
                    Menu { id: menu; MenuItem { text: "One" } }
                }
                Flickable {
                    objectName: "flick"
                    width: 200
                    height: 100
                    contentHeight: 1000
                    ScrollBar.vertical: ScrollBar {
                        objectName: "bar"
                        Accessible.role: Accessible.ScrollBar
                        Accessible.name: "Scroll"
                        stepSize: 0.1
                    }
                }
                ComboBox {
                    id: combo
                    objectName: "combo"
                    Accessible.role: Accessible.ComboBox
                    Accessible.name: "Sort"
                    model: ["A to Z", "Z to A"]
                    property bool accessibleExpanded: combo.popup.visible
                    // Pressed through the handler.
                    Accessible.onPressAction: {
                        if (combo.popup.visible)
                            combo.popup.close()
                        else
                            combo.popup.open()
                    }
                }
            }
        }
    }
}
)";

} // namespace

class tst_AccessibleItems : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void chosenForTheItemsTheySpeakFor_data();
    void chosenForTheItemsTheySpeakFor();
    void inQtQuicksTreeWhereQtsItemWouldBe();
    void writtenAsTyped();
    void readOnlyRefusesWriting();
    void passwordReadsMasked();
    void hostileOffsetsAreBounded_data();
    void hostileOffsetsAreBounded();
    void readByPieces_data();
    void readByPieces();
    void selectionAndCursor();
    void scrollBarMovesAndShowsOnlyWithSomethingToScroll();
    void popupSaysWhetherItIsOpen_data();
    void popupSaysWhetherItIsOpen();

private:
    QQuickItem *item(const char *name) const;
    QAccessibleInterface *interfaceOf(const char *name) const;

    std::unique_ptr<AccessibleItems::Installation> m_installation;
    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickWindow> m_window;
    std::unique_ptr<QQuickItem> m_root;
};

void tst_AccessibleItems::init()
{
    m_installation = std::make_unique<AccessibleItems::Installation>();
    m_engine = std::make_unique<QQmlEngine>();
    QQmlComponent component(m_engine.get());
    component.setData(document, QUrl());
    QVERIFY2(component.isReady(), qPrintable(component.errorString()));
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(480, 320);
    auto *root = qobject_cast<QQuickItem *>(component.create());
    QVERIFY(root);
    root->setParentItem(m_window->contentItem());
    m_root.reset(root);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
}

void tst_AccessibleItems::cleanup()
{
    m_root.reset();
    m_window.reset();
    m_engine.reset();
    m_installation.reset();
}

QQuickItem *tst_AccessibleItems::item(const char *name) const
{
    return m_root->findChild<QQuickItem *>(QLatin1String(name));
}

QAccessibleInterface *tst_AccessibleItems::interfaceOf(const char *name) const
{
    QQuickItem *found = item(name);
    return found ? QAccessible::queryAccessibleInterface(found) : nullptr;
}

void tst_AccessibleItems::chosenForTheItemsTheySpeakFor_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QAccessible::Role>("role");
    QTest::addColumn<QString>("accessibleName");
    QTest::addColumn<bool>("writable");
    QTest::addColumn<bool>("expandable");

    QTest::newRow("text field") << QByteArray("field") << QAccessible::EditableText << QStringLiteral("Search") << true << false;
    QTest::newRow("read-only text field") << QByteArray("fixed") << QAccessible::EditableText << QStringLiteral("Fixed") << false << false;
    QTest::newRow("button") << QByteArray("plain") << QAccessible::Button << QStringLiteral("Plain") << false << false;
    QTest::newRow("menu button") << QByteArray("more") << QAccessible::ButtonMenu << QStringLiteral("More") << false << true;
    QTest::newRow("list to choose from") << QByteArray("combo") << QAccessible::ComboBox << QStringLiteral("Sort") << false << true;
    QTest::newRow("scroll bar") << QByteArray("bar") << QAccessible::ScrollBar << QStringLiteral("Scroll") << false << false;
}

void tst_AccessibleItems::chosenForTheItemsTheySpeakFor()
{
    QFETCH(QByteArray, name);
    QFETCH(QAccessible::Role, role);
    QFETCH(QString, accessibleName);
    QFETCH(bool, writable);
    QFETCH(bool, expandable);

    QAccessibleInterface *iface = interfaceOf(name.constData());
    QVERIFY(iface);
    QCOMPARE(iface->role(), role);
    // The name is the one the QML gives, whoever's interface it is.
    QCOMPARE(iface->text(QAccessible::Name), accessibleName);
    QCOMPARE(iface->editableTextInterface() != nullptr, writable);
    QCOMPARE(bool(iface->state().expandable), expandable);
    if (role == QAccessible::EditableText)
        QVERIFY(iface->textInterface());
    // Pressing is offered once, by the controls that are pressed.
    const QStringList actions = iface->actionInterface() ? iface->actionInterface()->actionNames() : QStringList();
    QCOMPARE(actions.count(QAccessibleActionInterface::pressAction()),
             role == QAccessible::EditableText || role == QAccessible::ScrollBar ? 0 : 1);
    // No action is listed twice.
    for (const QString &action : actions)
        QCOMPARE(actions.count(action), 1);
}

void tst_AccessibleItems::inQtQuicksTreeWhereQtsItemWouldBe()
{
    QAccessibleInterface *group = interfaceOf("group");
    QVERIFY(group);
    QCOMPARE(group->role(), QAccessible::Grouping);
    // Every one of them is the group's child both ways: its parent is the group (past the item
    // that is not in the tree), and the group lists it where it says it is.
    for (const char *name : { "field", "fixed", "secret", "plain", "more", "combo", "bar" }) {
        QAccessibleInterface *iface = interfaceOf(name);
        QVERIFY2(iface, name);
        QCOMPARE(iface->parent(), group);
        const int index = group->indexOfChild(iface);
        QVERIFY2(index >= 0, name);
        QCOMPARE(group->child(index), iface);
    }
    // Up to the window, whose content item is not in the tree.
    QCOMPARE(group->parent(), QAccessible::queryAccessibleInterface(m_window.get()));
    QAccessibleInterface *field = interfaceOf("field");
    QCOMPARE(field->window(), m_window.get());
    QCOMPARE(field->childCount(), 0);
    const QRect bounds = field->rect();
    QVERIFY(bounds.isValid());
    QCOMPARE(bounds.size(), item("field")->size().toSize());
}

void tst_AccessibleItems::writtenAsTyped()
{
    QQuickItem *field = item("field");
    QAccessibleInterface *iface = interfaceOf("field");
    QAccessibleEditableTextInterface *writer = iface->editableTextInterface();
    QVERIFY(writer);
    QSignalSpy changed(field, SIGNAL(textChanged()));

    // What a screen reader's text entry does: the whole text replaced.
    writer->replaceText(0, iface->textInterface()->characterCount(), QStringLiteral("Forklift"));
    QCOMPARE(field->property("text").toString(), QStringLiteral("Forklift"));
    QVERIFY(changed.count() > 0);
    QCOMPARE(iface->text(QAccessible::Value), QStringLiteral("Forklift"));
    QCOMPARE(iface->textInterface()->text(0, 4), QStringLiteral("Fork"));

    writer->insertText(4, QStringLiteral(" lift"));
    QCOMPARE(field->property("text").toString(), QStringLiteral("Fork liftlift"));
    writer->deleteText(9, 13);
    QCOMPARE(field->property("text").toString(), QStringLiteral("Fork lift"));
    iface->setText(QAccessible::Value, QStringLiteral("Exit"));
    QCOMPARE(field->property("text").toString(), QStringLiteral("Exit"));
}

void tst_AccessibleItems::readOnlyRefusesWriting()
{
    QQuickItem *fixed = item("fixed");
    QAccessibleInterface *iface = interfaceOf("fixed");
    QVERIFY(iface->state().readOnly);
    QVERIFY(!iface->state().editable);
    QVERIFY(!iface->editableTextInterface());
    // Nor through the value, the other way in.
    iface->setText(QAccessible::Value, QStringLiteral("changed"));
    QCOMPARE(fixed->property("text").toString(), QStringLiteral("fixed"));
    QCOMPARE(iface->text(QAccessible::Value), QStringLiteral("fixed"));

    // A field that becomes read-only stops taking text at once.
    QAccessibleInterface *field = interfaceOf("field");
    QAccessibleEditableTextInterface *writer = field->editableTextInterface();
    QVERIFY(writer);
    item("field")->setProperty("readOnly", true);
    writer->replaceText(0, 3, QStringLiteral("xyz"));
    QCOMPARE(item("field")->property("text").toString(), QStringLiteral("abc"));
    QVERIFY(!field->editableTextInterface());
}

void tst_AccessibleItems::passwordReadsMasked()
{
    QAccessibleInterface *iface = interfaceOf("secret");
    QVERIFY(iface->state().passwordEdit);
    QCOMPARE(iface->text(QAccessible::Value), QStringLiteral("*******"));
    QCOMPARE(iface->textInterface()->characterCount(), 7);
    QVERIFY(!iface->textInterface()->text(0, -1).contains(QLatin1String("hunter")));
}

void tst_AccessibleItems::hostileOffsetsAreBounded_data()
{
    QTest::addColumn<int>("start");
    QTest::addColumn<int>("end");
    QTest::addColumn<QString>("afterReplace");
    QTest::addColumn<QString>("read");

    // "abc" with "X" put in place of [start, end), and text(start, end) read first.
    QTest::newRow("in range") << 1 << 2 << QStringLiteral("aXc") << QStringLiteral("b");
    QTest::newRow("negative start") << -5 << 1 << QStringLiteral("Xbc") << QStringLiteral("a");
    QTest::newRow("end past the text") << 2 << 99 << QStringLiteral("abX") << QStringLiteral("c");
    QTest::newRow("reversed") << 3 << 1 << QStringLiteral("aX") << QString();
    QTest::newRow("both past the text") << 50 << 60 << QStringLiteral("abcX") << QString();
    QTest::newRow("extremes") << INT_MIN << INT_MAX << QStringLiteral("X") << QStringLiteral("abc");
}

void tst_AccessibleItems::hostileOffsetsAreBounded()
{
    QFETCH(int, start);
    QFETCH(int, end);
    QFETCH(QString, afterReplace);
    QFETCH(QString, read);

    QAccessibleInterface *iface = interfaceOf("field");
    QAccessibleTextInterface *text = iface->textInterface();
    QCOMPARE(text->text(start, end), read);
    text->setSelection(0, start, end);
    text->setCursorPosition(end);
    QVERIFY(text->cursorPosition() >= 0 && text->cursorPosition() <= 3);
    text->characterRect(start);
    text->characterRect(end);
    // Reading around an offset ends, and reads from the text.
    for (int offset : { start, end }) {
        for (auto boundary : { QAccessible::CharBoundary, QAccessible::WordBoundary, QAccessible::SentenceBoundary,
                               QAccessible::ParagraphBoundary, QAccessible::LineBoundary, QAccessible::NoBoundary }) {
            int from = -1, to = -1;
            QVERIFY(QStringLiteral("abc").contains(text->textAtOffset(offset, boundary, &from, &to)));
            QVERIFY(QStringLiteral("abc").contains(text->textBeforeOffset(offset, boundary, &from, &to)));
            QVERIFY(QStringLiteral("abc").contains(text->textAfterOffset(offset, boundary, &from, &to)));
        }
    }
    iface->editableTextInterface()->replaceText(start, end, QStringLiteral("X"));
    QCOMPARE(item("field")->property("text").toString(), afterReplace);
}

void tst_AccessibleItems::readByPieces_data()
{
    QTest::addColumn<QAccessible::TextBoundaryType>("boundary");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QString>("at");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");

    // In "Exit sign. Fire door": the piece at offset, the one before it and the one after.
    QTest::newRow("character") << QAccessible::CharBoundary << 1 << "x" << "E" << "i";
    QTest::newRow("first character") << QAccessible::CharBoundary << 0 << "E" << "" << "x";
    QTest::newRow("word") << QAccessible::WordBoundary << 6 << "sign" << " " << ".";
    QTest::newRow("last word") << QAccessible::WordBoundary << 17 << "door" << " " << "";
    QTest::newRow("end of the text") << QAccessible::WordBoundary << 20 << "" << "door" << "";
    QTest::newRow("end, as -1") << QAccessible::WordBoundary << -1 << "" << "door" << "";
    QTest::newRow("sentence") << QAccessible::SentenceBoundary << 2 << "Exit sign. " << "" << "Fire door";
    QTest::newRow("line") << QAccessible::LineBoundary << 5 << "Exit sign. Fire door" << "" << "";
}

void tst_AccessibleItems::readByPieces()
{
    QFETCH(QAccessible::TextBoundaryType, boundary);
    QFETCH(int, offset);
    QFETCH(QString, at);
    QFETCH(QString, before);
    QFETCH(QString, after);

    item("field")->setProperty("text", QStringLiteral("Exit sign. Fire door"));
    QAccessibleTextInterface *text = interfaceOf("field")->textInterface();
    int start = -1, end = -1;
    QCOMPARE(text->textAtOffset(offset, boundary, &start, &end), at);
    QCOMPARE(text->text(start, end), at);
    QCOMPARE(text->textBeforeOffset(offset, boundary, &start, &end), before);
    QCOMPARE(text->text(start, end), before);
    QCOMPARE(text->textAfterOffset(offset, boundary, &start, &end), after);
    QCOMPARE(text->text(start, end), after);
}

void tst_AccessibleItems::selectionAndCursor()
{
    QQuickItem *field = item("field");
    QAccessibleTextInterface *text = interfaceOf("field")->textInterface();
    QCOMPARE(text->selectionCount(), 0);
    text->setSelection(0, 1, 3);
    QCOMPARE(field->property("selectedText").toString(), QStringLiteral("bc"));
    QCOMPARE(text->selectionCount(), 1);
    int start = -1, end = -1;
    text->selection(0, &start, &end);
    QCOMPARE(start, 1);
    QCOMPARE(end, 3);
    text->removeSelection(0);
    QCOMPARE(text->selectionCount(), 0);
    text->setCursorPosition(2);
    QCOMPARE(field->property("cursorPosition").toInt(), 2);
    QCOMPARE(text->cursorPosition(), 2);
}

void tst_AccessibleItems::scrollBarMovesAndShowsOnlyWithSomethingToScroll()
{
    QQuickItem *bar = item("bar");
    QAccessibleInterface *iface = interfaceOf("bar");
    QAccessibleActionInterface *actions = iface->actionInterface();
    QAccessibleValueInterface *value = iface->valueInterface();
    QVERIFY(actions);
    QVERIFY(value);
    QCOMPARE(actions->actionNames().mid(0, 2),
             (QStringList{ QAccessibleActionInterface::increaseAction(), QAccessibleActionInterface::decreaseAction() }));
    QCOMPARE(value->minimumValue().toReal(), 0.0);
    QCOMPARE(value->maximumValue().toReal(), 0.9); // a tenth of the content shows
    QCOMPARE(value->currentValue().toReal(), 0.0);

    actions->doAction(QAccessibleActionInterface::increaseAction());
    QCOMPARE(bar->property("position").toReal(), 0.1);
    QCOMPARE(value->currentValue().toReal(), 0.1);
    actions->doAction(QAccessibleActionInterface::decreaseAction());
    QCOMPARE(bar->property("position").toReal(), 0.0);

    value->setCurrentValue(0.5);
    QCOMPARE(bar->property("position").toReal(), 0.5);
    // Out of range, or no number at all: kept within the bar, or refused.
    value->setCurrentValue(7.0);
    QCOMPARE(bar->property("position").toReal(), 0.9);
    value->setCurrentValue(-1.0);
    QCOMPARE(bar->property("position").toReal(), 0.0);
    value->setCurrentValue(qQNaN());
    QCOMPARE(bar->property("position").toReal(), 0.0);
    value->setCurrentValue(QStringLiteral("half"));
    QCOMPARE(bar->property("position").toReal(), 0.0);
    QVERIFY(!iface->state().invisible);

    // With nothing to scroll the bar draws nothing, so it does not show; unless always on.
    item("flick")->setProperty("contentHeight", 50);
    QTRY_COMPARE(bar->property("size").toReal(), 1.0);
    QVERIFY(iface->state().invisible);
    QCOMPARE(value->maximumValue().toReal(), 0.0);
    bar->setProperty("policy", 2); // ScrollBar.AlwaysOn
    QVERIFY(!iface->state().invisible);
    bar->setProperty("policy", 1); // ScrollBar.AlwaysOff
    item("flick")->setProperty("contentHeight", 1000);
    QTRY_COMPARE(value->maximumValue().toReal(), 0.9);
    QVERIFY(iface->state().invisible);
}

void tst_AccessibleItems::popupSaysWhetherItIsOpen_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("pressedAgainCloses");
    // A menu takes the keys while open; the list's options close at a second press.
    QTest::newRow("menu button") << QByteArray("more") << false;
    QTest::newRow("list to choose from") << QByteArray("combo") << true;
}

void tst_AccessibleItems::popupSaysWhetherItIsOpen()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, pressedAgainCloses);
    QQuickItem *control = item(name.constData());
    QAccessibleInterface *iface = interfaceOf(name.constData());
    QVERIFY(iface->state().expandable);
    QVERIFY(iface->state().collapsed);
    QVERIFY(!iface->state().expanded);

    // Pressed as a screen reader presses: what a click does, here opening the popup.
    iface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    QTRY_VERIFY(control->property(AccessibleItems::expandedProperty).toBool());
    QVERIFY(iface->state().expanded);
    QVERIFY(!iface->state().collapsed);

    if (pressedAgainCloses) {
        iface->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    } else {
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(m_window.get(), &escape);
    }
    QTRY_VERIFY(!control->property(AccessibleItems::expandedProperty).toBool());
    QVERIFY(iface->state().collapsed);
    QVERIFY(!iface->state().expanded);
}

QTEST_MAIN(tst_AccessibleItems)
#include "tst_accessibleitems.moc"
