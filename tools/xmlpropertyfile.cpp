// SPDX-License-Identifier: MIT
#include "xmlpropertyfile.h"

#include <orrery/components.h>
#include <orrery/xmlelement.h>

#include <QByteArray>
#include <QFile>
#include <QSet>
#include <QStringList>
#include <QXmlStreamReader>

#include <charconv>
#include <chrono>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <type_traits>
#include <utility>
#include <vector>

namespace OrreryTools {

using Orrery::AbstractProperty;
using Orrery::PropertyObject;
using Orrery::PropertyObjectFactory;
using Orrery::PropertyReference;
using Orrery::SimpleProperty;
using Orrery::XMLElement;
using Tolmarsk::Qel::KVariant;
namespace TypeCode = Tolmarsk::Qel::TypeCode;

namespace {

const QLatin1String kFileTag("PropertyFile");
const QLatin1String kObjectTag("Object");
const QLatin1String kValueTag("Value");
const QLatin1String kReferenceTag("Reference");
const QLatin1String kItemTag("Item");

const QLatin1String kFormatAttr("format");
const QLatin1String kFormatVersion("1");
const QLatin1String kNameAttr("name");
const QLatin1String kTypeAttr("type");
const QLatin1String kFlagsAttr("flags");
const QLatin1String kElementTypeAttr("elementType");
const QLatin1String kTextAttr("text");
const QLatin1String kDimsAttr("dims");
const QLatin1String kCellAttr("cell");
const QLatin1String kPathAttr("path");
const QLatin1String kFileAttr("file");
const QLatin1String kFileTypeAttr("fileType");
const QLatin1String kEncodedSuffix(".b64");

// ---------------------------------------------------------------------------
// Element types of simple values
// ---------------------------------------------------------------------------

struct ElementTypeName {
    std::uint16_t code;
    const char* name;
};

constexpr ElementTypeName kElementTypes[] = {
    {TypeCode::Null, "null"},
    {TypeCode::Int8, "int8"},
    {TypeCode::UInt8, "uint8"},
    {TypeCode::Int16, "int16"},
    {TypeCode::UInt16, "uint16"},
    {TypeCode::Int32, "int32"},
    {TypeCode::UInt32, "uint32"},
    {TypeCode::Int64, "int64"},
    {TypeCode::UInt64, "uint64"},
    {TypeCode::Float, "float"},
    {TypeCode::Double, "double"},
    {TypeCode::Bool, "bool"},
    {TypeCode::ComplexFloat, "complex-float"},
    {TypeCode::ComplexDouble, "complex-double"},
    {TypeCode::String, "string"},
    {TypeCode::Duration, "duration"},
    {TypeCode::TimePoint, "timepoint"},
};

const char* elementTypeName(std::uint16_t code) {
    for (const ElementTypeName& entry : kElementTypes) {
        if (entry.code == code) {
            return entry.name;
        }
    }
    return nullptr;
}

bool elementTypeCode(const QString& name, std::uint16_t* code) {
    for (const ElementTypeName& entry : kElementTypes) {
        if (name == QLatin1String(entry.name)) {
            *code = entry.code;
            return true;
        }
    }
    return false;
}

// Calls visit(T{}) for the element type T of a storable, non-null type code.
template <class Visit>
bool visitElementType(std::uint16_t code, Visit&& visit) {
    switch (code) {
        case TypeCode::Int8:
            visit(std::int8_t{});
            return true;
        case TypeCode::UInt8:
            visit(std::uint8_t{});
            return true;
        case TypeCode::Int16:
            visit(std::int16_t{});
            return true;
        case TypeCode::UInt16:
            visit(std::uint16_t{});
            return true;
        case TypeCode::Int32:
            visit(std::int32_t{});
            return true;
        case TypeCode::UInt32:
            visit(std::uint32_t{});
            return true;
        case TypeCode::Int64:
            visit(std::int64_t{});
            return true;
        case TypeCode::UInt64:
            visit(std::uint64_t{});
            return true;
        case TypeCode::Float:
            visit(float{});
            return true;
        case TypeCode::Double:
            visit(double{});
            return true;
        case TypeCode::Bool:
            visit(bool{});
            return true;
        case TypeCode::ComplexFloat:
            visit(std::complex<float>{});
            return true;
        case TypeCode::ComplexDouble:
            visit(std::complex<double>{});
            return true;
        case TypeCode::String:
            visit(std::string{});
            return true;
        case TypeCode::Duration:
            visit(Tolmarsk::Qel::Duration{});
            return true;
        case TypeCode::TimePoint:
            visit(Tolmarsk::Qel::TimePoint{});
            return true;
        default:
            return false;
    }
}

// ---------------------------------------------------------------------------
// Texts that XML can carry, and the encoded form of those it cannot
// ---------------------------------------------------------------------------

// Whether every character survives an XML attribute unchanged: the characters XML 1.0
// allows, with surrogates only in pairs (the writer escapes tab, line feed and return).
bool isXmlSafe(const QString& text) {
    const int size = text.size();
    for (int i = 0; i < size; ++i) {
        const char16_t c = text.at(i).unicode();
        if (c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c < 0xD800) ||
            (c >= 0xE000 && c <= 0xFFFD)) {
            continue;
        }
        const bool pair = c >= 0xD800 && c < 0xDC00 && i + 1 < size &&
                          text.at(i + 1).unicode() >= 0xDC00 && text.at(i + 1).unicode() < 0xE000;
        if (!pair) {
            return false;
        }
        ++i;
    }
    return true;
}

QString encodedName(QLatin1String attribute) {
    return QString(attribute + kEncodedSuffix);
}

QByteArray utf16LittleEndian(const QString& text) {
    QByteArray bytes;
    bytes.reserve(text.size() * 2);
    for (const QChar c : text) {
        bytes.append(static_cast<char>(c.unicode() & 0xFF));
        bytes.append(static_cast<char>(c.unicode() >> 8));
    }
    return bytes;
}

// Stores a QString field, base64-encoded as UTF-16LE when XML cannot carry it.
void setTextAttribute(XMLElement* element, QLatin1String attribute, const QString& text) {
    if (isXmlSafe(text)) {
        element->SetAttribute(attribute, text);
    } else {
        element->SetAttribute(encodedName(attribute),
                              QString::fromLatin1(utf16LittleEndian(text).toBase64()));
    }
}

// Stores the bytes of a string value, base64-encoded when they are not XML-safe UTF-8.
void setBytesAttribute(XMLElement* element, QLatin1String attribute, const std::string& bytes) {
    const QString text = QString::fromStdString(bytes);
    if (isXmlSafe(text) && text.toStdString() == bytes) {
        element->SetAttribute(attribute, text);
    } else {
        const QByteArray raw(bytes.data(), static_cast<int>(bytes.size()));
        element->SetAttribute(encodedName(attribute), QString::fromLatin1(raw.toBase64()));
    }
}

enum class Lookup { Found, Missing, Invalid };

bool decodeBase64(const QString& text, QByteArray* bytes) {
    const QByteArray::FromBase64Result decoded = QByteArray::fromBase64Encoding(
        text.toLatin1(), QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) {
        return false;
    }
    *bytes = decoded.decoded;
    return true;
}

Lookup textAttribute(const XMLElement& element, QLatin1String attribute, QString* text) {
    const QMap<QString, QString>& attributes = element.GetAttributes();
    auto plain = attributes.constFind(attribute);
    if (plain != attributes.constEnd()) {
        *text = plain.value();
        return Lookup::Found;
    }
    auto encoded = attributes.constFind(encodedName(attribute));
    if (encoded == attributes.constEnd()) {
        return Lookup::Missing;
    }
    QByteArray bytes;
    if (!decodeBase64(encoded.value(), &bytes) || bytes.size() % 2 != 0) {
        return Lookup::Invalid;
    }
    text->clear();
    text->reserve(bytes.size() / 2);
    for (int i = 0; i < bytes.size(); i += 2) {
        const auto low = static_cast<unsigned char>(bytes.at(i));
        const auto high = static_cast<unsigned char>(bytes.at(i + 1));
        text->append(QChar(static_cast<char16_t>(low | (high << 8))));
    }
    return Lookup::Found;
}

Lookup bytesAttribute(const XMLElement& element, QLatin1String attribute, std::string* bytes) {
    const QMap<QString, QString>& attributes = element.GetAttributes();
    auto plain = attributes.constFind(attribute);
    if (plain != attributes.constEnd()) {
        *bytes = plain.value().toStdString();
        return Lookup::Found;
    }
    auto encoded = attributes.constFind(encodedName(attribute));
    if (encoded == attributes.constEnd()) {
        return Lookup::Missing;
    }
    QByteArray raw;
    if (!decodeBase64(encoded.value(), &raw)) {
        return Lookup::Invalid;
    }
    bytes->assign(raw.constData(), static_cast<std::size_t>(raw.size()));
    return Lookup::Found;
}

// ---------------------------------------------------------------------------
// Scalars as text
// ---------------------------------------------------------------------------

template <class T>
QString numberText(T number) {
    char buffer[64];
    const std::to_chars_result result = std::to_chars(buffer, buffer + sizeof buffer, number);
    return QString::fromLatin1(buffer, static_cast<int>(result.ptr - buffer));
}

// Reads a whole text as a number of type T; false for anything else, out of range included.
template <class T>
bool parseNumber(QStringView text, T* number) {
    const QByteArray bytes = text.toLatin1();
    const char* begin = bytes.constData();
    const char* end = begin + bytes.size();
    if (begin == end || bytes.contains('?')) {
        return false;
    }
    const std::from_chars_result result = std::from_chars(begin, end, *number);
    return result.ec == std::errc() && result.ptr == end;
}

template <class T>
QString scalarText(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? QStringLiteral("true") : QStringLiteral("false");
    } else if constexpr (std::is_same_v<T, std::complex<float>> ||
                         std::is_same_v<T, std::complex<double>>) {
        return QString(QLatin1Char('(') + numberText(value.real()) + QLatin1Char(',') +
                       numberText(value.imag()) + QLatin1Char(')'));
    } else if constexpr (std::is_same_v<T, Tolmarsk::Qel::Duration>) {
        return numberText(static_cast<std::int64_t>(value.count()));
    } else if constexpr (std::is_same_v<T, Tolmarsk::Qel::TimePoint>) {
        return numberText(static_cast<std::int64_t>(value.time_since_epoch().count()));
    } else {
        return numberText(value);
    }
}

template <class T>
bool parseScalar(const QString& text, T* value) {
    if constexpr (std::is_same_v<T, bool>) {
        if (text == QLatin1String("true") || text == QLatin1String("false")) {
            *value = text == QLatin1String("true");
            return true;
        }
        return false;
    } else if constexpr (std::is_same_v<T, std::complex<float>> ||
                         std::is_same_v<T, std::complex<double>>) {
        using Part = typename T::value_type;
        const int comma = text.indexOf(QLatin1Char(','));
        if (!text.startsWith(QLatin1Char('(')) || !text.endsWith(QLatin1Char(')')) || comma < 0) {
            return false;
        }
        Part real{};
        Part imag{};
        const QStringView view(text);
        if (!parseNumber(view.mid(1, comma - 1), &real) ||
            !parseNumber(view.mid(comma + 1, text.size() - comma - 2), &imag)) {
            return false;
        }
        *value = T(real, imag);
        return true;
    } else if constexpr (std::is_same_v<T, Tolmarsk::Qel::Duration>) {
        std::int64_t count = 0;
        if (!parseNumber(QStringView(text), &count)) {
            return false;
        }
        *value = Tolmarsk::Qel::Duration(count);
        return true;
    } else if constexpr (std::is_same_v<T, Tolmarsk::Qel::TimePoint>) {
        std::int64_t count = 0;
        if (!parseNumber(QStringView(text), &count)) {
            return false;
        }
        *value = Tolmarsk::Qel::TimePoint(Tolmarsk::Qel::Duration(count));
        return true;
    } else {
        return parseNumber(QStringView(text), value);
    }
}

template <class T>
void setScalarAttribute(XMLElement* element, const T& value) {
    if constexpr (std::is_same_v<T, std::string>) {
        setBytesAttribute(element, kTextAttr, value);
    } else {
        element->SetAttribute(kTextAttr, scalarText(value));
    }
}

// Reads the text attribute of an element as a T; a message in *why on failure.
template <class T>
bool scalarAttribute(const XMLElement& element, T* value, QString* why) {
    if constexpr (std::is_same_v<T, std::string>) {
        const Lookup found = bytesAttribute(element, kTextAttr, value);
        if (found == Lookup::Missing) {
            *why = QStringLiteral("the attribute \"text\" is missing");
        } else if (found == Lookup::Invalid) {
            *why = QStringLiteral("the attribute \"text.b64\" is not valid base64");
        }
        return found == Lookup::Found;
    } else {
        const QMap<QString, QString>& attributes = element.GetAttributes();
        auto text = attributes.constFind(kTextAttr);
        if (text == attributes.constEnd()) {
            *why = QStringLiteral("the attribute \"text\" is missing");
            return false;
        }
        if (!parseScalar(text.value(), value)) {
            *why = QStringLiteral("\"%1\" is not a valid %2")
                       .arg(text.value(),
                            QLatin1String(elementTypeName(Tolmarsk::Qel::TypeCodeOf<T>::value)));
            return false;
        }
        return true;
    }
}

// ---------------------------------------------------------------------------
// Simple values
// ---------------------------------------------------------------------------

bool writeValue(const KVariant& value, XMLElement* element, QString* why) {
    const std::uint16_t code = value.typeCode();
    if (code == TypeCode::Null) {
        element->SetAttribute(kElementTypeAttr, QStringLiteral("null"));
        return true;
    }
    const char* typeName = elementTypeName(code);
    if (typeName == nullptr) {
        *why = code == TypeCode::Custom
                   ? QStringLiteral("a custom value (%1) cannot be stored")
                         .arg(QString::fromStdString(value.elementTypeName()))
                   : QStringLiteral("a value of type code 0x%1 cannot be stored")
                         .arg(code, 4, 16, QLatin1Char('0'));
        return false;
    }
    element->SetAttribute(kElementTypeAttr, QLatin1String(typeName));
    return visitElementType(code, [&](auto tag) {
        using T = decltype(tag);
        if (value.isScalar()) {
            setScalarAttribute(element, value.get<T>());
            return;
        }
        QStringList dims;
        for (std::uint64_t extent : value.dimensions()) {
            dims << numberText(extent);
        }
        element->SetAttribute(kDimsAttr, dims.join(QLatin1Char(' ')));
        for (std::size_t i = 0; i < value.size(); ++i) {
            auto* item = new XMLElement;
            item->SetName(kItemTag);
            setScalarAttribute(item, value.get<T>(i));
            element->AddChildElement(item);
        }
    });
}

bool readDims(const QString& text, std::vector<std::uint64_t>* dims, std::uint64_t* product) {
    const QStringList parts = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (parts.isEmpty()) {
        return false;
    }
    *product = 1;
    for (const QString& part : parts) {
        std::uint64_t extent = 0;
        if (!parseNumber(QStringView(part), &extent)) {
            return false;
        }
        if (extent != 0 && *product > std::numeric_limits<std::uint64_t>::max() / extent) {
            return false;
        }
        *product *= extent;
        dims->push_back(extent);
    }
    return true;
}

template <class T>
bool readArray(const XMLElement& element, std::vector<std::uint64_t> dims, KVariant* value,
               QString* why) {
    const QList<XMLElement*>& items = element.GetChildElements();
    // std::vector<bool> has no data(), so the elements are kept in a plain array.
    std::unique_ptr<T[]> elements(new T[static_cast<std::size_t>(items.size())]);
    for (int i = 0; i < items.size(); ++i) {
        if (items.at(i)->GetName() != kItemTag) {
            *why = QStringLiteral("unexpected element <%1> among the items")
                       .arg(items.at(i)->GetName());
            return false;
        }
        QString itemWhy;
        if (!scalarAttribute(*items.at(i), &elements[static_cast<std::size_t>(i)], &itemWhy)) {
            *why = QStringLiteral("item %1: %2").arg(i).arg(itemWhy);
            return false;
        }
    }
    *value = KVariant(elements.get(), static_cast<std::size_t>(items.size()), std::move(dims));
    return true;
}

bool readValue(const XMLElement& element, KVariant* value, QString* why) {
    const QMap<QString, QString>& attributes = element.GetAttributes();
    auto typeName = attributes.constFind(kElementTypeAttr);
    if (typeName == attributes.constEnd()) {
        *why = QStringLiteral("the attribute \"elementType\" is missing");
        return false;
    }
    std::uint16_t code = TypeCode::Null;
    if (!elementTypeCode(typeName.value(), &code)) {
        *why = QStringLiteral("unknown element type \"%1\"").arg(typeName.value());
        return false;
    }
    if (code == TypeCode::Null) {
        *value = KVariant();
        return true;
    }
    auto dimsText = attributes.constFind(kDimsAttr);
    if (dimsText == attributes.constEnd() && !element.GetChildElements().isEmpty()) {
        *why = QStringLiteral("a scalar value has child elements");
        return false;
    }
    bool ok = false;
    visitElementType(code, [&](auto tag) {
        using T = decltype(tag);
        if (dimsText == attributes.constEnd()) {
            T scalar{};
            ok = scalarAttribute(element, &scalar, why);
            if (ok) {
                *value = KVariant(scalar);
            }
            return;
        }
        std::vector<std::uint64_t> dims;
        std::uint64_t count = 0;
        if (!readDims(dimsText.value(), &dims, &count)) {
            *why = QStringLiteral("\"%1\" are not valid dimensions").arg(dimsText.value());
            return;
        }
        if (count != static_cast<std::uint64_t>(element.GetChildElements().size())) {
            *why = QStringLiteral("the dimensions \"%1\" ask for %2 items, the file has %3")
                       .arg(dimsText.value())
                       .arg(count)
                       .arg(element.GetChildElements().size());
            return;
        }
        ok = readArray<T>(element, std::move(dims), value, why);
    });
    return ok;
}

// ---------------------------------------------------------------------------
// Flags and names
// ---------------------------------------------------------------------------

void setFlagsAttribute(XMLElement* element, const AbstractProperty& node) {
    if (node.GetPropertyFlags() != Orrery::Property::PropertyFlagsDefault) {
        element->SetAttribute(kFlagsAttr, numberText(node.GetPropertyFlags()));
    }
}

bool flagsAttribute(const XMLElement& element, unsigned int* flags, QString* why) {
    const QMap<QString, QString>& attributes = element.GetAttributes();
    auto text = attributes.constFind(kFlagsAttr);
    if (text == attributes.constEnd()) {
        *flags = Orrery::Property::PropertyFlagsDefault;
        return true;
    }
    if (!parseNumber(QStringView(text.value()), flags)) {
        *why = QStringLiteral("\"%1\" are not valid property flags").arg(text.value());
        return false;
    }
    return true;
}

QString childPath(PropertyObject* container, const QString& name) {
    const QString base = container->GetFullPath();
    return base == QLatin1String("/") ? QString(base + name)
                                      : QString(base + QLatin1Char('/') + name);
}

QString quoted(const QString& text) {
    return QString(QLatin1Char('"') + text + QLatin1Char('"'));
}

}  // namespace

QString DescribeXmlReadError(const QString& file) {
    QFile device(file);
    if (!device.open(QIODevice::ReadOnly)) {
        return QStringLiteral("%1: cannot open the file: %2").arg(file, device.errorString());
    }
    QXmlStreamReader reader(&device);
    while (!reader.atEnd()) {
        reader.readNext();
    }
    if (reader.hasError()) {
        return QStringLiteral("%1:%2:%3: malformed XML: %4")
            .arg(file)
            .arg(reader.lineNumber())
            .arg(reader.columnNumber())
            .arg(reader.errorString());
    }
    return QStringLiteral("%1: malformed XML").arg(file);
}

QString ElementTypeName(std::uint16_t code) {
    const char* name = elementTypeName(code);
    return name != nullptr ? QString::fromLatin1(name) : QString();
}

// ---------------------------------------------------------------------------
// XmlPropertyFile
// ---------------------------------------------------------------------------

const QString& XmlPropertyFile::TypeName() {
    static const QString name = QStringLiteral("XmlPropertyFile");
    return name;
}

Orrery::DataFile* XmlPropertyFile::Create(const QString& filePath) {
    return new XmlPropertyFile(filePath, OpenModeNone);
}

int XmlPropertyFile::Register() {
    return Orrery::DataFileFactory::RegisterFileType(TypeName(), &XmlPropertyFile::Create);
}

XmlPropertyFile::XmlPropertyFile(const QString& filePath, OpenMode openMode)
    : DataFile(filePath, openMode) {}

bool XmlPropertyFile::IsLoaded() const {
    return loaded;
}

bool XmlPropertyFile::IsModified() const {
    return modified;
}

QString XmlPropertyFile::GetFileType() const {
    return TypeName();
}

QString XmlPropertyFile::ErrorString() const {
    return error;
}

QString XmlPropertyFile::ExpandedPath() const {
    QString expanded = Orrery::ExpandVars(path);
    expanded.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return expanded;
}

Orrery::PropertyObject* XmlPropertyFile::MutableContents() {
    if (contents == nullptr) {
        contents = new RootProperty(this);
    }
    loaded = true;
    modified = true;
    return contents;
}

void XmlPropertyFile::Load() {
    error.clear();
    ClearFileContents();
    loaded = false;
    modified = false;

    const QString file = ExpandedPath();
    {
        QFile probe(file);
        if (!probe.open(QIODevice::ReadOnly)) {
            error = QStringLiteral("%1: cannot open the file: %2").arg(file, probe.errorString());
            return;
        }
    }
    XMLElement document;
    if (document.FromXMLFile(file) != Orrery::RESULT_OK) {
        error = DescribeXmlReadError(file);
        return;
    }
    if (document.GetName() != kFileTag) {
        error = QStringLiteral("%1: not a property file: the root element is <%2>, not <%3>")
                    .arg(file, document.GetName(), kFileTag);
        return;
    }
    const QString format = document.GetAttributes().value(kFormatAttr);
    if (format != kFormatVersion) {
        error = QStringLiteral("%1: unsupported format %2 (this reader knows format %3)")
                    .arg(file, quoted(format), kFormatVersion);
        return;
    }

    auto root = std::make_unique<RootProperty>(this);
    QString why;
    unsigned int rootFlags = 0;
    if (!flagsAttribute(document, &rootFlags, &why)) {
        error = QStringLiteral("%1: /: %2").arg(file, why);
        return;
    }
    root->SetPropertyFlags(rootFlags);

    PropertyObjectFactory* factory = PropertyObjectFactory::Instance();
    std::vector<AbstractProperty*> readOrder;
    std::vector<std::pair<const XMLElement*, PropertyObject*>> pending{{&document, root.get()}};
    while (!pending.empty()) {
        const auto [element, container] = pending.back();
        pending.pop_back();
        for (const XMLElement* child : element->GetChildElements()) {
            QString name;
            const Lookup nameFound = textAttribute(*child, kNameAttr, &name);
            if (nameFound != Lookup::Found) {
                error = QStringLiteral("%1: %2: an element <%3> has %4")
                            .arg(file, container->GetFullPath(), child->GetName(),
                                 nameFound == Lookup::Missing
                                     ? QStringLiteral("no name")
                                     : QStringLiteral("a name.b64 that is not valid base64"));
                return;
            }
            const QString where = childPath(container, name);
            const QString tag = child->GetName();
            std::unique_ptr<AbstractProperty> node;
            PropertyObject* object = nullptr;
            if (tag == kObjectTag) {
                QString type;
                if (textAttribute(*child, kTypeAttr, &type) != Lookup::Found) {
                    error = QStringLiteral("%1: %2: the attribute \"type\" is missing or invalid")
                                .arg(file, where);
                    return;
                }
                object = factory->Create(type);
                if (object == nullptr) {
                    error = QStringLiteral("%1: %2: unknown property-object type %3")
                                .arg(file, where, quoted(type));
                    return;
                }
                node.reset(object);
            } else if (tag == kValueTag) {
                KVariant value;
                if (!readValue(*child, &value, &why)) {
                    error = QStringLiteral("%1: %2: %3").arg(file, where, why);
                    return;
                }
                int cell = Orrery::NotCellArray;
                const QMap<QString, QString>& attributes = child->GetAttributes();
                if (attributes.contains(kCellAttr) &&
                    !parseNumber(QStringView(attributes.value(kCellAttr)), &cell)) {
                    error = QStringLiteral("%1: %2: %3 is not a valid cell marker")
                                .arg(file, where, quoted(attributes.value(kCellAttr)));
                    return;
                }
                auto* simple = new SimpleProperty;
                node.reset(simple);
                simple->SetValue(std::move(value), static_cast<Orrery::IsCellArray>(cell));
            } else if (tag == kReferenceTag) {
                QString refPath;
                QString refFile;
                QString refType;
                const Lookup pathFound = textAttribute(*child, kPathAttr, &refPath);
                const Lookup fileFound = textAttribute(*child, kFileAttr, &refFile);
                const Lookup typeFound = textAttribute(*child, kFileTypeAttr, &refType);
                if (pathFound != Lookup::Found || fileFound == Lookup::Invalid ||
                    typeFound == Lookup::Invalid) {
                    error = QStringLiteral("%1: %2: %3")
                                .arg(file, where,
                                     pathFound == Lookup::Missing
                                         ? QStringLiteral("the attribute \"path\" is missing")
                                         : QStringLiteral("an encoded attribute is not valid "
                                                          "base64"));
                    return;
                }
                if (!child->GetChildElements().isEmpty()) {
                    error =
                        QStringLiteral("%1: %2: a reference has child elements").arg(file, where);
                    return;
                }
                auto* reference = new PropertyReference;
                node.reset(reference);
                if (fileFound == Lookup::Found || typeFound == Lookup::Found) {
                    reference->SetExternalRefNoCheck(refPath, refFile, refType);
                } else {
                    reference->SetPropertyRefNoCheck(refPath);
                }
            } else {
                error = QStringLiteral("%1: %2: unknown element <%3>").arg(file, where, tag);
                return;
            }

            unsigned int flags = 0;
            if (!flagsAttribute(*child, &flags, &why)) {
                error = QStringLiteral("%1: %2: %3").arg(file, where, why);
                return;
            }
            if (node->SetName(name) != Orrery::RESULT_OK) {
                error = QStringLiteral("%1: %2: %3 is not a valid property name")
                            .arg(file, container->GetFullPath(), quoted(name));
                return;
            }
            const Orrery::ERESULT inserted = container->InsertProperty(node.get());
            if (inserted != Orrery::RESULT_OK) {
                error = inserted == Orrery::RESULT_ALREADY_EXISTS
                            ? QStringLiteral("%1: %2: the name is used twice").arg(file, where)
                            : QStringLiteral("%1: %2: the node cannot be inserted (result %3)")
                                  .arg(file, where)
                                  .arg(static_cast<int>(inserted));
                return;
            }
            AbstractProperty* inTree = node.release();
            // Flags last: a read-only node could not be named or given its value.
            inTree->SetPropertyFlags(flags);
            readOrder.push_back(inTree);
            if (object != nullptr) {
                pending.emplace_back(child, object);
            }
        }
    }
    // Every node comes before its descendants in readOrder, so the reverse order runs the
    // hook of each container after those of everything below it.
    for (auto it = readOrder.rbegin(); it != readOrder.rend(); ++it) {
        (*it)->OnDeserialization();
    }
    root->OnDeserialization();
    contents = root.release();
    loaded = true;
}

bool XmlPropertyFile::Save() {
    error.clear();
    const QString file = ExpandedPath();
    if (!IsWritable()) {
        error = QStringLiteral("%1: the file was opened read-only").arg(file);
        return false;
    }
    XMLElement document;
    document.SetComment(QStringLiteral(" Orrery property tree (XmlPropertyFile) "));
    document.SetName(kFileTag);
    document.SetAttribute(kFormatAttr, kFormatVersion);

    if (contents != nullptr) {
        setFlagsAttribute(&document, *contents);
        QStringList typeList;
        PropertyObjectFactory::Instance()->GetTypeList(&typeList);
        const QSet<QString> creatable(typeList.cbegin(), typeList.cend());
        SimpleProperty nameProbe;

        std::vector<std::pair<const PropertyObject*, XMLElement*>> pending{{contents, &document}};
        QList<AbstractProperty*> children;
        while (!pending.empty()) {
            const auto [container, element] = pending.back();
            pending.pop_back();
            container->GetPropertyList(&children);
            for (AbstractProperty* node : children) {
                auto* child = new XMLElement;
                element->AddChildElement(child);
                const QString name = node->GetName();
                if (nameProbe.SetName(name) != Orrery::RESULT_OK || name.isEmpty()) {
                    error = QStringLiteral("%1: %2: %3 is not a valid property name")
                                .arg(file, node->GetFullPath(), quoted(name));
                    return false;
                }
                setTextAttribute(child, kNameAttr, name);
                setFlagsAttribute(child, *node);
                if (auto* object = dynamic_cast<PropertyObject*>(node)) {
                    const QString type = object->PropertyObjType();
                    if (!creatable.contains(type)) {
                        error = QStringLiteral(
                                    "%1: %2: the property-object type %3 is not registered, so "
                                    "it could not be read back")
                                    .arg(file, node->GetFullPath(), quoted(type));
                        return false;
                    }
                    child->SetName(kObjectTag);
                    setTextAttribute(child, kTypeAttr, type);
                    pending.emplace_back(object, child);
                } else if (auto* reference = dynamic_cast<PropertyReference*>(node);
                           reference != nullptr &&
                           reference->PropertyObjType() == PropertyReference::StaticType()) {
                    child->SetName(kReferenceTag);
                    setTextAttribute(child, kPathAttr, reference->ReferencePath());
                    const QString refFile = reference->ReferenceFilePath();
                    const QString refType = reference->ReferenceFileType();
                    if (!refFile.isEmpty() || !refType.isEmpty()) {
                        setTextAttribute(child, kFileAttr, refFile);
                        setTextAttribute(child, kFileTypeAttr, refType);
                    }
                } else if (auto* simple = dynamic_cast<SimpleProperty*>(node);
                           simple != nullptr &&
                           simple->PropertyObjType() == SimpleProperty::StaticType()) {
                    child->SetName(kValueTag);
                    QString why;
                    if (!writeValue(simple->GetValue(), child, &why)) {
                        error = QStringLiteral("%1: %2: %3").arg(file, node->GetFullPath(), why);
                        return false;
                    }
                    if (simple->GetValueIsCellArray() != Orrery::NotCellArray) {
                        child->SetAttribute(
                            kCellAttr, numberText(static_cast<int>(simple->GetValueIsCellArray())));
                    }
                } else {
                    error = QStringLiteral("%1: %2: a node of type %3 cannot be stored")
                                .arg(file, node->GetFullPath(), quoted(node->PropertyObjType()));
                    return false;
                }
            }
        }
    }
    if (document.ToXMLFile(file) != Orrery::RESULT_OK) {
        error = QStringLiteral("%1: cannot write the file").arg(file);
        return false;
    }
    modified = false;
    return true;
}

}  // namespace OrreryTools
