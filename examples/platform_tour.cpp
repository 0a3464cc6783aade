// SPDX-License-Identifier: MIT
// A short tour of the services the library offers so far: variant values,
// path values and environment access with the registry fallback.
#include <orrery/orrery.h>

#include <cstdio>
#include <string>

int main() {
    using Tolmarsk::Qel::KVariant;
    namespace TypeCode = Tolmarsk::Qel::TypeCode;

    std::printf("OrreryCore %s\n\n", ORRERY_VERSION_STRING);

    const KVariant text(std::string("4700"));
    const KVariant number = text.convert(TypeCode::Double, 1);
    std::printf("variant: \"4700\" as %s -> %g\n", number.elementTypeName().c_str(),
                number.get<double>());
    const KVariant back = KVariant(0.1).convert(TypeCode::String, 1);
    std::printf("variant: 0.1 as text -> \"%s\"\n", back.get<std::string>().c_str());
    const KVariant bad = KVariant(std::string("12x")).convert(TypeCode::Int32, 1);
    std::printf("variant: \"12x\" as int -> %s\n\n", bad.isNull() ? "null (not a number)" : "?");

    vexil::Path install(vexil::get_installation_directory());
    std::printf("installation directory: %s\n", install.native().c_str());
    std::printf("doc directory:          %s\n",
                vexil::Path(install).append("doc").native().c_str());
    vexil::Path messy("C:\\X\\bin\\..\\lib\\.\\win32_64");
    std::printf("normalized:             %s\n\n", messy.normalize().string().c_str());

    const std::string home = vexil::getenv_check_registry_stdstring("HOME");
    std::printf("HOME (environment, then registry): %s\n", home.empty() ? "(unset)" : home.c_str());
    std::string registryValue;
    const bool inRegistry = vexil::getenv_from_registry_only("KORVANE_DIR", &registryValue);
    std::printf("KORVANE_DIR in the registry: %s\n", inRegistry ? registryValue.c_str() : "(none)");
    return 0;
}
