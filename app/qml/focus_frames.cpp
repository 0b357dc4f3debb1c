#include "focus_frames.h"

#include <QCoreApplication>
#include <QKeyEvent>

FocusFrames::FocusFrames(QObject *parent)
    : QObject(parent)
{
    // The whole application: a key press reaches the window, or, when a shortcut takes it,
    // only the focused item as a ShortcutOverride.
    if (QCoreApplication *application = QCoreApplication::instance())
        application->installEventFilter(this);
}

FocusFrames::~FocusFrames()
{
    if (QCoreApplication *application = QCoreApplication::instance())
        application->removeEventFilter(this);
}

static bool isModifierOnly(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
        return true;
    default:
        return false;
    }
}

bool FocusFrames::eventFilter(QObject *object, QEvent *event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::ShortcutOverride:
        // A modifier alone is often the start of a mouse gesture (Ctrl+click).
        if (!isModifierOnly(static_cast<QKeyEvent *>(event)->key()))
            setShown(true);
        break;
    case QEvent::FocusIn: {
        // Focus moved by Tab without a key here: an embedded module handed it back (its own
        // Tab or Ctrl+Tab went to the module's process, not to this one).
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason)
            setShown(true);
        break;
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TabletPress:
        // Each press reaches the window first and then the items under it; the window's is
        // enough.
        if (object->isWindowType())
            setShown(false);
        break;
    default:
        break;
    }
    return false;
}

void FocusFrames::setShown(bool shown)
{
    if (m_shown == shown)
        return;
    m_shown = shown;
    Q_EMIT shownChanged();
}
