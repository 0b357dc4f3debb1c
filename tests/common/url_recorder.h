#pragma once

#include <QList>
#include <QObject>
#include <QUrl>

// Stands in for the desktop: install with QDesktopServices::setUrlHandler(scheme, &recorder,
// "open") and it keeps every address it is asked to open, in order.
class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> urls;
public Q_SLOTS:
    void open(const QUrl &url) { urls.append(url); }
};
