// SPDX-License-Identifier: MIT
// A downstream program built against the installed package.
#include <orrery/orrery.h>

#include <QtGlobal>

#include <cstdio>

int main() {
    Tolmarsk::Qel::KVariant value(std::string("42"));
    const int number = value.convert(Tolmarsk::Qel::TypeCode::Int32, 1).get<int>();
    const bool ok = number == 42 && !vexil::tokenize("a/b", "/", false).empty();
    // The Qt the program runs with, to tell the Qt 5 and Qt 6 builds apart.
    std::printf("OrreryCore %s %s (Qt %s)\n", ORRERY_VERSION_STRING, ok ? "ok" : "broken",
                qVersion());
    return ok ? 0 : 1;
}
