// SPDX-License-Identifier: MIT
// Writes a large document with ToXMLFile while the process may not write more
// than a given number of bytes to any file, so that the write fails part-way.
// Usage: xml_write_driver TARGET BYTE_LIMIT
#include <orrery/xmlelement.h>

#include <QString>

#include <sys/resource.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    Orrery::XMLElement root;
    root.SetName(QStringLiteral("design"));
    for (int i = 0; i < 2000; ++i) {
        auto* child = new Orrery::XMLElement;
        child->SetName(QStringLiteral("value"));
        child->SetContent(QString::number(i));
        root.AddChildElement(child);
    }
    // Past the limit a write fails with EFBIG instead of raising SIGXFSZ.
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit {};
    limit.rlim_cur = limit.rlim_max = std::strtoul(argv[2], nullptr, 10);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        return 3;
    }
    std::printf("%d\n", static_cast<int>(root.ToXMLFile(QString::fromLocal8Bit(argv[1]))));
    return 0;
}
