// Registers its window and never reports ready.
#include "e2e_module_helper.h"

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    E2eModuleHelper helper;
    return helper.registered ? app.exec() : 2;
}
