// SPDX-License-Identifier: MIT
// The library exception.

#include <orrery/result.h>

#include <QLatin1Char>
#include <QString>

namespace Orrery {

OrreryException::OrreryException(ERESULT code) : std::exception(), code(code) {}

OrreryException::OrreryException(const OrreryException& other)
    : std::exception(other), code(other.code) {}

OrreryException::OrreryException(OrreryException&& other) noexcept
    : std::exception(other), code(other.code) {}

OrreryException& OrreryException::operator=(const OrreryException& other) {
    if (this != &other) {
        std::exception::operator=(other);
    }
    code = other.code;
    return *this;
}

OrreryException& OrreryException::operator=(OrreryException&& other) noexcept {
    if (this != &other) {
        std::exception::operator=(other);
    }
    code = other.code;
    return *this;
}

OrreryException::~OrreryException() = default;

const char* OrreryException::what() const noexcept {
    whatText = QString(QStringLiteral("Orrery Error: %1"))
                   .arg(static_cast<int>(code), 0, 10, QLatin1Char(' '))
                   .toUtf8();
    return whatText.constData();
}

}  // namespace Orrery
