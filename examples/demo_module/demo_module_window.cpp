#include "demo_module_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

// Enough history to follow a session without growing for ever.
constexpr int MAX_BROADCASTS = 200;

QLabel *valueLabel(const QString &objectName)
{
    auto *label = new QLabel;
    label->setObjectName(objectName);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    return label;
}

} // namespace

const QList<DemoModuleWindow::RequestChoice> &DemoModuleWindow::requestChoices()
{
    static const QList<RequestChoice> choices = {
        { tr("Printer names"), 1, QStringLiteral("getPrinterNames"), QStringLiteral("11QStringList"), false },
        { tr("Printer status"), 1, QStringLiteral("getPrinterStatus"), QStringLiteral("i"), true },
        { tr("Firmware version"), 1, QStringLiteral("getFirmwareVersion"), QStringLiteral("7QString"), true },
        { tr("Supply id"), 0, QStringLiteral("getSupplyId"), QStringLiteral("7QString"), true },
        { tr("Ribbon ids"), 0, QStringLiteral("getRibbonIds"), QStringLiteral("11QStringList"), true },
    };
    return choices;
}

DemoModuleWindow::DemoModuleWindow(QWidget *parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("demoModuleWindow"));
    auto *layout = new QVBoxLayout(this);

    m_title = new QLabel;
    m_title->setObjectName(QStringLiteral("moduleName"));
    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.8);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    layout->addWidget(m_title);

    auto *details = new QFormLayout;
    m_executable = valueLabel(QStringLiteral("executable"));
    m_dashboard = valueLabel(QStringLiteral("dashboard"));
    m_file = valueLabel(QStringLiteral("file"));
    m_fileStatus = valueLabel(QStringLiteral("fileStatus"));
    m_printer = valueLabel(QStringLiteral("printer"));
    m_testMode = valueLabel(QStringLiteral("testMode"));
    //: Demo module: the program's file name
    details->addRow(tr("Program:"), m_executable);
    //: Demo module: the dashboard window that started it
    details->addRow(tr("Dashboard:"), m_dashboard);
    //: Demo module: the label file it was asked to open
    details->addRow(tr("File:"), m_file);
    details->addRow(QString(), m_fileStatus);
    //: Demo module: the printer argument it was given
    details->addRow(tr("Printer:"), m_printer);
    //: Demo module: whether it runs in test mode
    details->addRow(tr("Test mode:"), m_testMode);
    layout->addLayout(details);
    //: Demo module: plays a label with changes that are not saved; closing then asks first
    m_unsaved = new QCheckBox(tr("Unsaved changes"));
    m_unsaved->setObjectName(QStringLiteral("unsavedChanges"));
    layout->addWidget(m_unsaved);

    //: Demo module: list of messages the dashboard broadcast
    auto *broadcastBox = new QGroupBox(tr("Broadcasts received"));
    auto *broadcastLayout = new QVBoxLayout(broadcastBox);
    m_broadcasts = new QListWidget;
    m_broadcasts->setObjectName(QStringLiteral("broadcasts"));
    // One line each in one font. Without this, the scroll to each new broadcast lays out and
    // shapes the text of every row again: a burst of printer events kept the module busy for
    // seconds.
    m_broadcasts->setUniformItemSizes(true);
    broadcastLayout->addWidget(m_broadcasts);
    layout->addWidget(broadcastBox, 1);

    //: Demo module: ask the dashboard to open a label file
    auto *openBox = new QGroupBox(tr("Open a label file in the dashboard"));
    auto *openLayout = new QVBoxLayout(openBox);
    auto *openRow = new QHBoxLayout;
    m_path = new QLineEdit;
    m_path->setObjectName(QStringLiteral("pathToOpen"));
    //: Demo module: placeholder of the label file path field
    m_path->setPlaceholderText(tr("Path of a label file"));
    //: Demo module: button that opens a file dialog
    m_browse = new QPushButton(tr("Browse..."));
    //: Demo module: button that asks the dashboard to open the file
    m_open = new QPushButton(tr("Open in dashboard"));
    m_open->setObjectName(QStringLiteral("openButton"));
    openRow->addWidget(m_path, 1);
    openRow->addWidget(m_browse);
    openRow->addWidget(m_open);
    openLayout->addLayout(openRow);
    m_openStatus = valueLabel(QStringLiteral("openStatus"));
    openLayout->addWidget(m_openStatus);
    layout->addWidget(openBox);

    //: Demo module: send a request to the dashboard
    auto *requestBox = new QGroupBox(tr("Ask the dashboard"));
    auto *requestLayout = new QVBoxLayout(requestBox);
    auto *requestRow = new QHBoxLayout;
    m_request = new QComboBox;
    m_request->setObjectName(QStringLiteral("request"));
    for (const RequestChoice &choice : requestChoices())
        m_request->addItem(choice.label);
    m_argument = new QLineEdit;
    m_argument->setObjectName(QStringLiteral("requestArgument"));
    //: Demo module: placeholder of the printer name field of a request
    m_argument->setPlaceholderText(tr("Printer name"));
    //: Demo module: button that sends the request
    m_send = new QPushButton(tr("Send request"));
    m_send->setObjectName(QStringLiteral("sendButton"));
    requestRow->addWidget(m_request);
    requestRow->addWidget(m_argument, 1);
    requestRow->addWidget(m_send);
    requestLayout->addLayout(requestRow);
    m_reply = valueLabel(QStringLiteral("reply"));
    requestLayout->addWidget(m_reply);
    layout->addWidget(requestBox);

    connect(m_browse, &QPushButton::clicked, this, &DemoModuleWindow::browse);
    connect(m_open, &QPushButton::clicked, this, [this] { Q_EMIT openRequested(pathToOpen()); });
    connect(m_path, &QLineEdit::returnPressed, m_open, &QPushButton::click);
    connect(m_send, &QPushButton::clicked, this,
            [this] { Q_EMIT requestRequested(requestIndex(), requestArgument()); });

    resize(720, 560);
}

void DemoModuleWindow::setModuleName(const QString &name, const QString &executable)
{
    m_title->setText(name);
    m_executable->setText(executable);
    setWindowTitle(name);
}

void DemoModuleWindow::setDetails(const QString &dashboard, const QString &file,
                                  const QString &printer, bool testMode)
{
    m_dashboard->setText(dashboard);
    m_file->setText(file);
    m_printer->setText(printer);
    //: Demo module: test mode on / off
    m_testMode->setText(testMode ? tr("yes") : tr("no"));
}

void DemoModuleWindow::setFileStatus(const QString &text)
{
    m_fileStatus->setText(text);
}

void DemoModuleWindow::setOpenStatus(const QString &text)
{
    m_openStatus->setText(text);
}

void DemoModuleWindow::setReplyText(const QString &text)
{
    m_reply->setText(text);
}

void DemoModuleWindow::addBroadcast(const QString &text)
{
    m_broadcasts->addItem(text);
    while (m_broadcasts->count() > MAX_BROADCASTS)
        delete m_broadcasts->takeItem(0);
    m_broadcasts->scrollToBottom();
}

QRect DemoModuleWindow::pathFieldGeometry() const
{
    return QRect(m_path->mapTo(this, QPoint(0, 0)), m_path->size());
}

QString DemoModuleWindow::pathToOpen() const
{
    return m_path->text().trimmed();
}

void DemoModuleWindow::setPathToOpen(const QString &path)
{
    m_path->setText(path);
}

int DemoModuleWindow::requestIndex() const
{
    return m_request->currentIndex();
}

QString DemoModuleWindow::requestArgument() const
{
    return m_argument->text();
}

void DemoModuleWindow::setRequestArgument(const QString &argument)
{
    m_argument->setText(argument);
}

QStringList DemoModuleWindow::broadcasts() const
{
    QStringList texts;
    for (int i = 0; i < m_broadcasts->count(); ++i)
        texts << m_broadcasts->item(i)->text();
    return texts;
}

QString DemoModuleWindow::replyText() const
{
    return m_reply->text();
}

QString DemoModuleWindow::openStatus() const
{
    return m_openStatus->text();
}

void DemoModuleWindow::browse()
{
    //: Demo module: title of the file dialog
    const QString path = QFileDialog::getOpenFileName(
            this, tr("Choose a label file"), QString(),
            //: Demo module: file dialog filter
            tr("Label files (*.kxld *.kxlt *.kxcl *.kxaf *.kxnf *.kxaw *.kxam *.kxpm);;All files (*)"));
    if (!path.isEmpty())
        setPathToOpen(path);
}

bool DemoModuleWindow::hasUnsavedChanges() const
{
    return m_unsaved->isChecked();
}

void DemoModuleWindow::setUnsavedChanges(bool unsaved)
{
    m_unsaved->setChecked(unsaved);
}
