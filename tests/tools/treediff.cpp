// SPDX-License-Identifier: MIT
#include "treediff.h"

#include <QList>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace OrreryToolTest {

using Orrery::AbstractProperty;
using Orrery::PropertyObject;
using Orrery::PropertyReference;
using Orrery::SimpleProperty;
using Tolmarsk::Qel::KVariant;
namespace TypeCode = Tolmarsk::Qel::TypeCode;

namespace {

template <class T>
bool sameReal(T a, T b) {
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) && std::isnan(b) && std::signbit(a) == std::signbit(b);
    }
    // Bit for bit, so that -0.0 and 0.0 differ.
    using Bits = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
    static_assert(sizeof(Bits) == sizeof(T), "a real of an unexpected size");
    Bits bitsA = 0;
    Bits bitsB = 0;
    std::memcpy(&bitsA, &a, sizeof(T));
    std::memcpy(&bitsB, &b, sizeof(T));
    return bitsA == bitsB;
}

template <class T>
bool sameElement(const T& a, const T& b) {
    if constexpr (std::is_floating_point_v<T>) {
        return sameReal(a, b);
    } else if constexpr (std::is_same_v<T, std::complex<float>> ||
                         std::is_same_v<T, std::complex<double>>) {
        return sameReal(a.real(), b.real()) && sameReal(a.imag(), b.imag());
    } else {
        return a == b;
    }
}

template <class T>
bool sameElements(const KVariant& a, const KVariant& b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (!sameElement(a.get<T>(i), b.get<T>(i))) {
            return false;
        }
    }
    return true;
}

bool sameElementsOfCode(const KVariant& a, const KVariant& b) {
    switch (a.typeCode()) {
        case TypeCode::Int8:
            return sameElements<std::int8_t>(a, b);
        case TypeCode::UInt8:
            return sameElements<std::uint8_t>(a, b);
        case TypeCode::Int16:
            return sameElements<std::int16_t>(a, b);
        case TypeCode::UInt16:
            return sameElements<std::uint16_t>(a, b);
        case TypeCode::Int32:
            return sameElements<std::int32_t>(a, b);
        case TypeCode::UInt32:
            return sameElements<std::uint32_t>(a, b);
        case TypeCode::Int64:
            return sameElements<std::int64_t>(a, b);
        case TypeCode::UInt64:
            return sameElements<std::uint64_t>(a, b);
        case TypeCode::Float:
            return sameElements<float>(a, b);
        case TypeCode::Double:
            return sameElements<double>(a, b);
        case TypeCode::Bool:
            return sameElements<bool>(a, b);
        case TypeCode::ComplexFloat:
            return sameElements<std::complex<float>>(a, b);
        case TypeCode::ComplexDouble:
            return sameElements<std::complex<double>>(a, b);
        case TypeCode::String:
            return sameElements<std::string>(a, b);
        case TypeCode::Duration:
            return sameElements<Tolmarsk::Qel::Duration>(a, b);
        case TypeCode::TimePoint:
            return sameElements<Tolmarsk::Qel::TimePoint>(a, b);
        case TypeCode::Null:
            return true;
        default:
            return false;
    }
}

}  // namespace

std::string valueDifference(const KVariant& a, const KVariant& b) {
    if (a.typeCode() != b.typeCode() || a.isScalar() != b.isScalar() ||
        a.dimensions() != b.dimensions() || a.size() != b.size()) {
        std::ostringstream why;
        why << "type 0x" << std::hex << a.typeCode() << " / 0x" << b.typeCode() << std::dec
            << ", scalar " << a.isScalar() << " / " << b.isScalar() << ", size " << a.size()
            << " / " << b.size();
        return why.str();
    }
    if (!sameElementsOfCode(a, b)) {
        return "the elements differ";
    }
    return std::string();
}

std::string treeDifference(AbstractProperty* a, AbstractProperty* b) {
    std::vector<std::pair<AbstractProperty*, AbstractProperty*>> pending{{a, b}};
    QList<AbstractProperty*> childrenA;
    QList<AbstractProperty*> childrenB;
    while (!pending.empty()) {
        auto [x, y] = pending.back();
        pending.pop_back();
        const std::string where = x->GetFullPath().toStdString();
        if (x->GetName() != y->GetName() || x->PropertyObjType() != y->PropertyObjType() ||
            x->GetTypeFlags() != y->GetTypeFlags() ||
            x->GetPropertyFlags() != y->GetPropertyFlags()) {
            std::ostringstream why;
            why << where << ": name, type or flags differ (" << y->GetFullPath().toStdString()
                << ", " << y->PropertyObjType().toStdString() << ", flags " << x->GetPropertyFlags()
                << " / " << y->GetPropertyFlags() << ")";
            return why.str();
        }
        if (auto* simpleX = dynamic_cast<SimpleProperty*>(x)) {
            auto* simpleY = dynamic_cast<SimpleProperty*>(y);
            if (simpleY == nullptr) {
                return where + ": not a simple property";
            }
            const std::string values = valueDifference(simpleX->GetValue(), simpleY->GetValue());
            if (!values.empty()) {
                return where + ": " + values;
            }
            if (simpleX->GetValueIsCellArray() != simpleY->GetValueIsCellArray()) {
                return where + ": the cell markers differ";
            }
        } else if (auto* refX = dynamic_cast<PropertyReference*>(x)) {
            auto* refY = dynamic_cast<PropertyReference*>(y);
            if (refY == nullptr || refX->ReferencePath() != refY->ReferencePath() ||
                refX->ReferenceFilePath() != refY->ReferenceFilePath() ||
                refX->ReferenceFileType() != refY->ReferenceFileType()) {
                return where + ": the references differ";
            }
        } else if (auto* objectX = dynamic_cast<PropertyObject*>(x)) {
            auto* objectY = dynamic_cast<PropertyObject*>(y);
            if (objectY == nullptr) {
                return where + ": not a container";
            }
            objectX->GetPropertyList(&childrenA);
            objectY->GetPropertyList(&childrenB);
            if (childrenA.size() != childrenB.size()) {
                std::ostringstream why;
                why << where << ": " << childrenA.size() << " / " << childrenB.size()
                    << " children";
                return why.str();
            }
            for (int i = 0; i < childrenA.size(); ++i) {
                pending.emplace_back(childrenA.at(i), childrenB.at(i));
            }
        }
    }
    return std::string();
}

}  // namespace OrreryToolTest
