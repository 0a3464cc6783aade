// SPDX-License-Identifier: MIT
// A downstream program built against the installed package.
#include <orrery/orrery.h>

#include <cstdio>

int main() {
    Tolmarsk::Qel::KVariant value(std::string("42"));
    const int number = value.convert(Tolmarsk::Qel::TypeCode::Int32, 1).get<int>();
    const bool ok = number == 42 && !vexil::tokenize("a/b", "/", false).empty();
    std::printf("OrreryCore %s %s\n", ORRERY_VERSION_STRING, ok ? "ok" : "broken");
    return ok ? 0 : 1;
}
