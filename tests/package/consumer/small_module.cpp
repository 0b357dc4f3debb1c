// A module program built with the module library alone: it reads the launcher's command line
// and round-trips a message through the protocol's byte format.
#include <module_command_line.h>
#include <Controllers/qvipc_message.h>

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const ModuleCommandLine line = ModuleCommandLine::parse(
            { "QVLabelEditor.exe", "--dashboard", "7", "--p P2,1", "Plan.kxld" });
    if (!line.hasDashboard || line.dashboardWindow != 7 || line.printerName != "P2"
        || !line.printerIsSuitePrinter || line.filePath != "Plan.kxld")
        return 1;
    MessageStruct sent;
    sent.methodName = QStringLiteral("supplyModuleReady");
    sent.arguments = { 7, QStringLiteral("QVLabelEditor") };
    const QByteArray bytes = QVIPCMessage::encode(sent);
    MessageStruct received;
    if (bytes.isEmpty() || !QVIPCMessage::decode(bytes.constData(), quint32(bytes.size()), &received)
        || received != sent)
        return 2;
    std::puts("small module ok");
    return 0;
}
