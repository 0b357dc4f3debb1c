#include "demo_module.h"

#include "demo_module_window.h"
#include "module_logging.h"

#include "widgetutils/file_controller_tools.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QWindow>

namespace {

const char ORGANIZATION[] = "Quorvane Inc";
const char HISTORY_GROUP[] = "fileHistory";
// As many entries as a module keeps in its history.
constexpr int MAX_HISTORY = 50;

} // namespace

QString describeValue(const QVariant &value)
{
    if (!value.isValid())
        return QStringLiteral("(nothing)");
    if (value.metaType().id() == QMetaType::QStringList)
        return QLatin1Char('[') + value.toStringList().join(QStringLiteral(", ")) + QLatin1Char(']');
    if (value.metaType().id() == QMetaType::QVariantList) {
        QStringList parts;
        for (const QVariant &item : value.toList())
            parts << describeValue(item);
        return QLatin1Char('[') + parts.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    if (value.canConvert<QString>())
        return value.toString();
    return QStringLiteral("<%1>").arg(QString::fromLatin1(value.typeName()));
}

DemoModule::DemoModule(const ModuleCommandLine &commandLine,
                       KorvexNative::NativeWindowBackend *backend, QObject *parent)
    : QObject(parent),
      m_commandLine(commandLine),
      m_window(std::make_unique<DemoModuleWindow>()),
      m_client(std::make_unique<ModuleClient>(backend))
{
    const ModuleInfo &module = m_commandLine.module;
    m_window->setModuleName(module.isValid() ? module.displayName : tr("Unknown module"),
                            applicationName());
    const QString dashboard = m_commandLine.hasDashboard
            ? QString::number(quint64(m_commandLine.dashboardWindow))
            //: Demo module: started without a dashboard
            : tr("none (running on its own)");
    const QString printer = !m_commandLine.hasPrinterArgument
            //: Demo module: no printer argument was given
            ? tr("not given")
            : m_commandLine.printerArgument.isEmpty()
            //: Demo module: the printer argument was empty
            ? tr("(empty)")
            : m_commandLine.printerName.isEmpty()
            //: Demo module: the dashboard has no printer chosen
            ? tr("none chosen")
            : QStringLiteral("%1 (%2)").arg(m_commandLine.printerName,
                                           m_commandLine.printerIsSuitePrinter
                                                   ? tr("suite printer")
                                                   : tr("other printer"));
    m_window->setDetails(dashboard, m_commandLine.filePath.isEmpty() ? tr("none") : m_commandLine.filePath,
                         printer, m_commandLine.testMode);
    m_window->setRequestArgument(m_commandLine.printerName);
    if (!m_commandLine.error.isEmpty())
        KX_DEBUG(lcModule, "Module command line: %s", qUtf8Printable(m_commandLine.error));

    connect(m_window.get(), &DemoModuleWindow::openRequested, this, &DemoModule::openInDashboard);
    connect(m_window.get(), &DemoModuleWindow::requestRequested, this, &DemoModule::sendRequest);
    connect(m_client.get(), &ModuleClient::broadcastReceived, this,
            [this](const QString &name, const QVariantList &arguments) {
                QStringList parts;
                for (const QVariant &argument : arguments)
                    parts << describeValue(argument);
                const QString text = name + QStringLiteral(": ") + parts.join(QStringLiteral(", "));
                m_window->addBroadcast(text);
                log(QStringLiteral("broadcast ") + text);
            });
    connect(m_client.get(), &ModuleClient::replyReceived, this, &DemoModule::showReply);
    connect(m_client.get(), &ModuleClient::requestTimedOut, this, &DemoModule::showTimeout);
    connect(m_client.get(), &ModuleClient::closeApplicationRequested, this,
            [this] { askBeforeClosing("CloseApplicationSignal"); });
    connect(m_client.get(), &ModuleClient::windowCloseRequested, this,
            [this] { askBeforeClosing("WM_CLOSE"); });
    // Whether the module has the keyboard, for whoever follows the event log.
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](QWindow *window) {
        log(window ? QStringLiteral("focus in") : QStringLiteral("focus out"));
    });
    connect(m_client.get(), &ModuleClient::embedded, this, [this](KorvexNative::WindowHandle container) {
        log(QStringLiteral("embedded %1").arg(quint64(container)));
    });
    m_window->installEventFilter(this);
}

bool DemoModule::eventFilter(QObject *watched, QEvent *event)
{
    // Where the path field is after each change of size, so a test can click into it.
    if (watched == m_window.get() && event->type() == QEvent::Resize) {
        const QRect field = m_window->pathFieldGeometry();
        log(QStringLiteral("path field %1 %2 %3 %4 in %5x%6")
                    .arg(field.x()).arg(field.y()).arg(field.width()).arg(field.height())
                    .arg(m_window->width()).arg(m_window->height()));
    }
    // With unsaved changes the window stays until its user answers: the close message
    // (WM_CLOSE) asks, as the dashboard's broadcast does. Left to Qt, it would also destroy the
    // window under the question, and the dashboard would lose the module's page.
    if (watched == m_window.get() && event->type() == QEvent::Close && m_window->hasUnsavedChanges()) {
        event->ignore();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

DemoModule::~DemoModule()
{
    // Off the dashboard's list while the window handle still means this module.
    if (m_client->isRegistered())
        m_client->unregisterFromDashboard();
    log(QStringLiteral("exit"));
}

QString DemoModule::applicationName() const
{
    return m_commandLine.module.isValid()
            ? m_commandLine.module.executableName
            : QFileInfo(QCoreApplication::applicationFilePath()).fileName();
}

void DemoModule::setEventLog(const QString &filePath)
{
    m_eventLog = filePath;
}

void DemoModule::configureFromEnvironment()
{
    const QString logDir = qEnvironmentVariable("KORVEX_DEMO_MODULE_LOG");
    if (!logDir.isEmpty())
        setEventLog(QDir(logDir).filePath(QString::number(QCoreApplication::applicationPid())
                                          + QStringLiteral(".log")));
    setOpenOnStart(qEnvironmentVariable("KORVEX_DEMO_MODULE_OPEN"));
    const QStringList unsaved = qEnvironmentVariable("KORVEX_DEMO_MODULE_UNSAVED").split(QLatin1Char(','));
    m_window->setUnsavedChanges(unsaved.contains(QLatin1String("1")) || unsaved.contains(applicationName()));
}

void DemoModule::log(const QString &line)
{
    if (m_eventLog.isEmpty())
        return;
    // Opened per line and flushed at once: whoever follows the file sees each line whole.
    QFile file(m_eventLog);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(line.toUtf8().replace('\n', ' ') + '\n');
}

void DemoModule::start()
{
    log(QStringLiteral("start %1 %2").arg(applicationName(),
                                          m_commandLine.arguments.mid(1).join(QLatin1Char(' '))));
    if (!m_commandLine.filePath.isEmpty()) {
        QString error;
        if (recordFileView(m_commandLine.filePath, &error)) {
            //: Demo module: the file was recorded in the module's view history
            m_window->setFileStatus(tr("Opened and added to the view history."));
            log(QStringLiteral("file ") + m_commandLine.filePath);
        } else {
            m_window->setFileStatus(error);
            log(QStringLiteral("file-refused ") + m_commandLine.filePath);
        }
    }

    // The native window exists before it is shown: the dashboard takes it by its handle.
    m_window->winId();
    m_client->setWindow(m_window->windowHandle());
    if (!m_commandLine.hasDashboard) {
        m_client->showWindow();
        return;
    }
    m_client->setDashboardWindow(m_commandLine.dashboardWindow);
    if (!m_client->registerWithDashboard() || !m_client->reportReady(applicationName())) {
        //: Demo module: the dashboard named on the command line could not be reached
        m_window->setOpenStatus(tr("The dashboard's window %1 cannot be reached.")
                                        .arg(quint64(m_commandLine.dashboardWindow)));
        log(QStringLiteral("unreachable"));
        m_client->showWindow();
        return;
    }
    // Shown inside the dashboard once it has taken the window.
    m_client->showWindow();
    log(QStringLiteral("ready %1").arg(quint64(m_client->windowHandle())));
    if (!m_commandLine.printerName.isEmpty())
        m_client->reportPrinterName(m_commandLine.printerName);
    if (!m_openOnStart.isEmpty()) {
        m_window->setPathToOpen(m_openOnStart);
        openInDashboard(m_window->pathToOpen());
    }
}

bool DemoModule::recordFileView(const QString &filePath, QString *error)
{
    const QFileInfo file(filePath);
    if (!file.isFile()) {
        if (error)
            //: Demo module: the label file it was asked to open does not exist
            *error = tr("The file does not exist; nothing was recorded.");
        return false;
    }
    const QString storeName = m_commandLine.module.isValid() ? m_commandLine.module.storeName
                                                            : QStringLiteral("DemoModule");
    QSettings store(QSettings::IniFormat, QSettings::UserScope, QLatin1String(ORGANIZATION),
                    storeName);
    if (!FileControllerTools::isStoreSafe(store.fileName())) {
        if (error)
            //: Demo module: the history store holds data it does not open
            *error = tr("The view history %1 holds data that is not safe to open; nothing was recorded.")
                             .arg(QDir::toNativeSeparators(store.fileName()));
        return false;
    }
    FileControllerTools::recordFileView(&store, QLatin1String(HISTORY_GROUP),
                                        file.absoluteFilePath(), QDateTime::currentDateTime(),
                                        MAX_HISTORY);
    store.sync();
    if (store.status() != QSettings::NoError) {
        if (error)
            //: Demo module: writing the history store failed
            *error = tr("The view history %1 could not be written.")
                             .arg(QDir::toNativeSeparators(store.fileName()));
        return false;
    }
    return true;
}

void DemoModule::openInDashboard(const QString &path)
{
    if (path.isEmpty()) {
        //: Demo module: the open button was pressed without a path
        m_window->setOpenStatus(tr("Enter or choose a label file first."));
        return;
    }
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (m_client->requestOpenLabelFile(absolute)) {
        //: Demo module: the request to open a file went to the dashboard
        m_window->setOpenStatus(tr("Asked the dashboard to open %1.").arg(absolute));
        log(QStringLiteral("open ") + absolute);
    } else
        //: Demo module: the request to open a file could not be sent
        m_window->setOpenStatus(tr("Not sent: no dashboard to ask."));
}

void DemoModule::sendRequest(int choice, const QString &argument)
{
    const auto &choices = DemoModuleWindow::requestChoices();
    if (choice < 0 || choice >= choices.size())
        return;
    const DemoModuleWindow::RequestChoice &request = choices.at(choice);
    QVariantList arguments;
    if (request.takesPrinter)
        arguments << argument;
    arguments << QStringLiteral("-");
    m_lastRequest = m_client->sendRequest(request.methodType, request.methodName, request.dataType,
                                          arguments);
    if (m_lastRequest)
        //: Demo module: a request is waiting for its reply
        m_window->setReplyText(tr("%1: waiting for the reply...").arg(request.methodName));
    else
        m_window->setReplyText(tr("%1: not sent: no dashboard to ask.").arg(request.methodName));
}

void DemoModule::showReply(int requestId, const MessageStruct &reply)
{
    Q_UNUSED(requestId);
    m_window->setReplyText(QStringLiteral("%1 -> %2").arg(reply.methodName, describeValue(reply.data)));
    log(QStringLiteral("reply ") + m_window->replyText());
}

void DemoModule::showTimeout(int requestId, const MessageStruct &request)
{
    Q_UNUSED(requestId);
    //: Demo module: the dashboard did not answer a request
    m_window->setReplyText(tr("%1: no reply from the dashboard.").arg(request.methodName));
}

void DemoModule::askBeforeClosing(const char *reason)
{
    if (!m_window->hasUnsavedChanges()) {
        closeWindow(reason);
        return;
    }
    if (m_closeQuestion) {
        // The broadcast and WM_CLOSE of one quit both come here: one question is enough.
        log(QStringLiteral("close-pending ") + QLatin1String(reason));
        return;
    }
    log(QStringLiteral("close-asked ") + QLatin1String(reason));
    m_closeQuestion = new QMessageBox(QMessageBox::Warning, m_window->windowTitle(),
                                      //: Demo module: asked when closing with unsaved changes
                                      tr("This label has unsaved changes. Close without saving?"),
                                      QMessageBox::NoButton, m_window.get());
    m_closeQuestion->setObjectName(QStringLiteral("unsavedQuestion"));
    m_closeQuestion->setAttribute(Qt::WA_DeleteOnClose);
    //: Demo module: closes and loses the unsaved changes
    QPushButton *discard = m_closeQuestion->addButton(tr("Close without saving"), QMessageBox::DestructiveRole);
    //: Demo module: keeps the module open
    m_closeQuestion->addButton(tr("Keep open"), QMessageBox::RejectRole);
    const QByteArray why(reason);
    connect(m_closeQuestion, &QMessageBox::finished, this, [this, discard, why] {
        if (m_closeQuestion && m_closeQuestion->clickedButton() == discard) {
            m_window->setUnsavedChanges(false);
            closeWindow(why.constData());
        } else {
            log(QStringLiteral("close-kept"));
        }
    });
    m_closeQuestion->open();
}

void DemoModule::closeWindow(const char *reason)
{
    log(QStringLiteral("close ") + QLatin1String(reason));
    if (m_client->isRegistered())
        m_client->unregisterFromDashboard();
    if (m_window->isVisible())
        m_window->close();
    Q_EMIT closed();
}
