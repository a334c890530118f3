#pragma once

#include "app/CommandLine.h"

#include <QString>
#include <QStringList>
#include <QTextStream>

namespace velmora::test {

// One run of `velmora` in this process: its exit code and what it wrote.
struct CommandRun {
    int code;
    QString out;
    QString err;
};

inline CommandRun runVelmora(const QStringList& arguments) {
    CommandRun run;
    QTextStream out(&run.out);
    QTextStream err(&run.err);
    run.code = runCommandLine(arguments, out, err);
    out.flush();
    err.flush();
    return run;
}

} // namespace velmora::test
