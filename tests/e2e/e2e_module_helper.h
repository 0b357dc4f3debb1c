#pragma once

// Shared start of the misbehaving module programs of the end-to-end tests: a Qt window, a
// client registered with the dashboard named on the command line, and the window id on
// standard output ("window <id>") for the test to follow.

#include "module_client.h"
#include "module_command_line.h"

#include <QGuiApplication>
#include <QWindow>

#include <cstdio>

struct E2eModuleHelper
{
    E2eModuleHelper()
    {
        window.resize(320, 200);
        window.create();
        const ModuleCommandLine line = ModuleCommandLine::parse(QCoreApplication::arguments());
        client = new ModuleClient; // never deleted: some helpers must not unregister
        client->setDashboardWindow(line.dashboardWindow);
        client->setWindow(&window);
        registered = client->registerWithDashboard();
        std::printf("window %llu\n", static_cast<unsigned long long>(client->windowHandle()));
        std::fflush(stdout);
    }

    QWindow window;
    ModuleClient *client = nullptr;
    bool registered = false;
};
