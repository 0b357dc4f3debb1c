#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

// Whether the front end draws its focus frames. They show once the user works the keyboard
// (Tab, arrows, shortcuts, typing) and hide again at the next mouse press or touch, so that a
// mouse user does not see a frame on whatever took focus by itself (the list at start, the
// page a click opened). Text fields keep theirs: they are where typing goes.
class FocusFrames : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool shown READ shown NOTIFY shownChanged FINAL)

public:
    explicit FocusFrames(QObject *parent = nullptr);
    ~FocusFrames() override;

    bool shown() const { return m_shown; }

Q_SIGNALS:
    void shownChanged();

protected:
    bool eventFilter(QObject *object, QEvent *event) override;

private:
    void setShown(bool shown);

    bool m_shown = false;
};
