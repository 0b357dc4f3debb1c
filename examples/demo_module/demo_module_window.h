#pragma once

#include <QRect>
#include <QString>
#include <QStringList>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;

// The demo module's window: who it is, what the dashboard asked it to do, what the dashboard
// has told it since, and two buttons that talk back.
class DemoModuleWindow : public QWidget
{
    Q_OBJECT

public:
    // One request the window can send: target, method, wanted type, whether it takes the
    // printer name.
    struct RequestChoice
    {
        QString label;
        qint8 methodType;
        QString methodName;
        QString dataType;
        bool takesPrinter;
    };
    static const QList<RequestChoice> &requestChoices();

    explicit DemoModuleWindow(QWidget *parent = nullptr);

    void setModuleName(const QString &name, const QString &executable);
    void setDetails(const QString &dashboard, const QString &file, const QString &printer,
                    bool testMode);
    void setFileStatus(const QString &text);
    void setOpenStatus(const QString &text);
    void setReplyText(const QString &text);
    void addBroadcast(const QString &text);

    QString pathToOpen() const;
    // Where the path field is, in the window.
    QRect pathFieldGeometry() const;
    void setPathToOpen(const QString &path);
    int requestIndex() const;
    QString requestArgument() const;
    void setRequestArgument(const QString &argument);

    // The label has changes not saved yet: closing asks first.
    bool hasUnsavedChanges() const;
    void setUnsavedChanges(bool unsaved);

    QStringList broadcasts() const;
    QString replyText() const;
    QString openStatus() const;

Q_SIGNALS:
    void openRequested(const QString &path);
    void requestRequested(int choice, const QString &argument);

private:
    void browse();

    QLabel *m_title;
    QLabel *m_executable;
    QLabel *m_dashboard;
    QLabel *m_file;
    QLabel *m_fileStatus;
    QLabel *m_printer;
    QLabel *m_testMode;
    QCheckBox *m_unsaved;
    QListWidget *m_broadcasts;
    QLineEdit *m_path;
    QPushButton *m_browse;
    QPushButton *m_open;
    QLabel *m_openStatus;
    QComboBox *m_request;
    QLineEdit *m_argument;
    QPushButton *m_send;
    QLabel *m_reply;
};
