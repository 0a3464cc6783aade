// SPDX-License-Identifier: MIT
// Runs component-store operations in a fresh process, so that tests can start several
// writers at once and observe the native per-user settings without test-mode paths.
// Usage:
//   components_driver write-installed PROCESS COUNT
//   components_driver write-referred PRODUCT_ROOT PROCESS COUNT
//   components_driver alternate-installed COUNT
//   components_driver hold-lock FILE
//   components_driver native-set COMPONENT VERSION KEY VALUE
//   components_driver native-get COMPONENT VERSION KEY
//   components_driver native-remove COMPONENT VERSION
#include "driverstdio.h"

#include <orrery/components.h>

#include <QSettings>
#include <QString>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif
#include <cstdio>
#include <cstdlib>
#include <cstring>

using Orrery::InstComponentData;

namespace {

QString arg(char** argv, int index) {
    return QString::fromLocal8Bit(argv[index]);
}

// Process p writes keys K0..K(count-1) of version "p<p>", spread over four components.
int writeKeys(const QString& productRoot, const QString& process, int count) {
    for (int j = 0; j < count; ++j) {
        const QString component = QStringLiteral("Comp%1").arg(j % 4);
        const QString version = QString(QStringLiteral("p") + process);
        const QString key = QStringLiteral("K%1").arg(j);
        const QString value = QStringLiteral("v%1.%2").arg(process).arg(j);
        const bool ok = productRoot.isNull()
                            ? InstComponentData::SetInstComponentKey(component, version, key, value)
                            : InstComponentData::SetReferredComponentKey(productRoot, component,
                                                                         version, key, value);
        if (!ok) {
            return 1;
        }
    }
    return 0;
}

// Sets Models/2.1/Location COUNT times, in turn to a short and to a long value, so that a
// reader at the same time would notice a file caught half-written.
int alternateLocation(int count) {
    const QString values[] = {QStringLiteral("/short"),
                              QString(QStringLiteral("/long/") + QString(4000, QLatin1Char('x')))};
    for (int i = 0; i < count; ++i) {
        InstComponentData::SetInstComponentKey(QStringLiteral("Models"), QStringLiteral("2.1"),
                                               InstComponentData::s_strLocation, values[i % 2]);
    }
    return 0;
}

// Takes the lock that a writer of a store holds, an exclusive flock() on FILE (the store's
// "<store>.storelock"; LockFileEx on Windows, on a handle that shares the file as a writer's
// does), says "held" and keeps it until the process is killed.
int holdLock(const char* file) {
#ifdef _WIN32
    const HANDLE handle = ::CreateFileW(QString::fromLocal8Bit(file).toStdWString().c_str(),
                                        GENERIC_READ | GENERIC_WRITE | DELETE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    OVERLAPPED whole{};
    if (handle == INVALID_HANDLE_VALUE ||
        !::LockFileEx(handle, LOCKFILE_EXCLUSIVE_LOCK, 0, MAXDWORD, MAXDWORD, &whole)) {
        return 1;
    }
    std::printf("held\n");
    std::fflush(stdout);
    while (true) {
        ::Sleep(INFINITE);
    }
#else
    const int fd = ::open(file, O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0 || ::flock(fd, LOCK_EX) != 0) {
        return 1;
    }
    std::printf("held\n");
    std::fflush(stdout);
    while (true) {
        ::pause();
    }
#endif
}

}  // namespace

int main(int argc, char** argv) {
    OrreryTest::useBinaryStdio();
    if (argc < 2) {
        return 2;
    }
    const char* mode = argv[1];
    if (std::strcmp(mode, "write-installed") == 0 && argc == 4) {
        return writeKeys(QString(), arg(argv, 2), std::atoi(argv[3]));
    }
    if (std::strcmp(mode, "write-referred") == 0 && argc == 5) {
        return writeKeys(arg(argv, 2), arg(argv, 3), std::atoi(argv[4]));
    }
    if (std::strcmp(mode, "alternate-installed") == 0 && argc == 3) {
        return alternateLocation(std::atoi(argv[2]));
    }
    if (std::strcmp(mode, "hold-lock") == 0 && argc == 3) {
        return holdLock(argv[2]);
    }
    if (std::strcmp(mode, "native-set") == 0 && argc == 6) {
        const bool ok = InstComponentData::SetInstComponentKey(arg(argv, 2), arg(argv, 3),
                                                               arg(argv, 4), arg(argv, 5));
        QSettings native(InstComponentData::s_strOrganization, InstComponentData::s_strapplication);
        std::printf("%d %s\n", ok ? 1 : 0, native.fileName().toLocal8Bit().constData());
        return 0;
    }
    if (std::strcmp(mode, "native-get") == 0 && argc == 5) {
        const QString value =
            InstComponentData::GetInstComponentKey(arg(argv, 2), arg(argv, 3), arg(argv, 4));
        std::printf("[%s]\n", value.toLocal8Bit().constData());
        return 0;
    }
    if (std::strcmp(mode, "native-remove") == 0 && argc == 4) {
        const bool ok = InstComponentData::RemoveInstComponent(arg(argv, 2), arg(argv, 3));
        std::printf("%d\n", ok ? 1 : 0);
        return 0;
    }
    return 2;
}
