#include "quit_signals.h"

// Windows ends a program with messages, not signals: the window's close event asks instead.
QuitSignals::QuitSignals(QObject *parent) : QObject(parent) {}

QuitSignals::~QuitSignals() = default;

void QuitSignals::readSignals() {}
