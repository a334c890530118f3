#include "app/CommandLine.h"

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora"));
    QTextStream out(stdout);
    QTextStream err(stderr);
    const int code = velmora::runCommandLine(QCoreApplication::arguments().mid(1), out, err);
    out.flush();
    err.flush();
    return code;
}
