#pragma once

#include "module_client.h"
#include "module_command_line.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class DemoModuleWindow;
class QMessageBox;

// The demo module: one program that plays any of the suite's modules, chosen by the name it
// was started under. It shows its window, registers with the dashboard named on its command
// line, reports itself ready, records the label file it was given in its module's view
// history, lists the dashboard's broadcasts, and closes when the dashboard asks.
class DemoModule : public QObject
{
    Q_OBJECT

public:
    // backend: the native window system; the process's when null.
    explicit DemoModule(const ModuleCommandLine &commandLine,
                        KorvexNative::NativeWindowBackend *backend = nullptr,
                        QObject *parent = nullptr);
    ~DemoModule() override;

    // Shows the window and, when started by a dashboard, registers and reports ready.
    void start();

    // The name reported in "supplyModuleReady": the executable name the launcher started, so
    // the dashboard can map it back to its module.
    QString applicationName() const;

    ModuleClient *client() const { return m_client.get(); }
    DemoModuleWindow *window() const { return m_window.get(); }
    const ModuleCommandLine &commandLine() const { return m_commandLine; }

    // Records a view of filePath in the module's "fileHistory"; false, with the reason in
    // *error, when the file does not exist or the store cannot be written safely.
    bool recordFileView(const QString &filePath, QString *error = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

public:

    void openInDashboard(const QString &path);
    void sendRequest(int choice, const QString &argument);

    // Where the module writes one line per thing that happens to it (see docs/module.md), so
    // that a program that started it can follow it from outside; none when empty. Set from
    // KORVEX_DEMO_MODULE_LOG (a folder; the file is <pid>.log) by fromEnvironment().
    void setEventLog(const QString &filePath);
    // A label file the module asks the dashboard to open as soon as it has reported ready,
    // as its open button would; from KORVEX_DEMO_MODULE_OPEN.
    void setOpenOnStart(const QString &path) { m_openOnStart = path; }
    // Applies the two environment variables above, and KORVEX_DEMO_MODULE_UNSAVED ("1", or a
    // comma-separated list of executable names), which starts it with unsaved changes (its
    // "Unsaved changes" box ticked).
    void configureFromEnvironment();

Q_SIGNALS:
    // The module has closed its window on the dashboard's request (or WM_CLOSE).
    void closed();

private:
    void showReply(int requestId, const MessageStruct &reply);
    void showTimeout(int requestId, const MessageStruct &request);
    void closeWindow(const char *reason);
    void askBeforeClosing(const char *reason);
    void log(const QString &line);

    ModuleCommandLine m_commandLine;
    std::unique_ptr<DemoModuleWindow> m_window;
    std::unique_ptr<ModuleClient> m_client;
    int m_lastRequest = 0;
    QString m_eventLog;
    QString m_openOnStart;
    QPointer<QMessageBox> m_closeQuestion;
};

// Text of a value as the demo module shows it.
QString describeValue(const QVariant &value);
