// SPDX-License-Identifier: MIT
// The orrery command-line tool: starts like every client of the library, runs one
// command and shuts down.

#include "tool.h"

#include <orrery/startup.h>
#include <orrery/version.h>

#include <QCoreApplication>
#include <QTextStream>

#include <cstdio>
#include <exception>

int main(int argc, char** argv) {
    initialize_product("Orrery", ORRERY_VERSION_STRING);
    initialize_qt_core_application(argc, argv, "orrery");
    int status = 1;
    {
        QTextStream out(stdout);
        QTextStream err(stderr);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
        // Qt 6's text streams write UTF-8 by default; Qt 5's follow the locale.
        out.setCodec("UTF-8");
        err.setCodec("UTF-8");
#endif
        try {
            status = OrreryTools::runTool(QCoreApplication::arguments(), out, err);
        } catch (const std::exception& failure) {
            err << "orrery: " << OrreryTools::oneLine(QString::fromLocal8Bit(failure.what()))
                << '\n';
            status = 1;
        }
        out.flush();
        err.flush();
    }
    uninitialize_qt_core_application();
    return status;
}
