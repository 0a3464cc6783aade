// SPDX-License-Identifier: MIT
// orrery tree: the property tree of a design file, and how the tool shows nodes.

#include "tool.h"

#include "../xmlpropertyfile.h"

#include <orrery/datafile.h>
#include <orrery/units.h>

#include <QFileInfo>

#include <memory>
#include <string>
#include <vector>

namespace OrreryTools {

using Orrery::AbstractProperty;
using Orrery::PropertyObject;
using Orrery::PropertyReference;
using Orrery::SimpleProperty;
using Tolmarsk::Qel::KVariant;
namespace TypeCode = Tolmarsk::Qel::TypeCode;

namespace {

constexpr std::size_t kShownElements = 8;

QString elementText(const KVariant& value, const KVariant& asText, std::size_t index) {
    const std::uint16_t code = value.typeCode();
    if (code == TypeCode::Duration) {
        return QStringLiteral("%1 ns").arg(value.get<Tolmarsk::Qel::Duration>(index).count());
    }
    if (code == TypeCode::TimePoint) {
        return QStringLiteral("%1 ns after 1970")
            .arg(value.get<Tolmarsk::Qel::TimePoint>(index).time_since_epoch().count());
    }
    if (asText.isNull()) {
        return QStringLiteral("<%1>").arg(QString::fromStdString(value.elementTypeName()));
    }
    const QString text = QString::fromStdString(asText.get<std::string>(index));
    return code == TypeCode::String ? quoted(text) : text;
}

// The simple child @p name of @p container as text; empty when it is missing.
bool childText(PropertyObject* container, const QString& name, QString* text) {
    if (dynamic_cast<SimpleProperty*>(container->GetPropertyPtr(name)) == nullptr) {
        return false;
    }
    try {
        return container->GetProperty(name, text) == Orrery::RESULT_OK;
    } catch (const std::exception&) {
        return false;
    }
}

QString flagsText(AbstractProperty* node) {
    QString text;
    if (node->IsReadOnly()) {
        text += QStringLiteral(" [read-only]");
    }
    if (node->IsHidden()) {
        text += QStringLiteral(" [hidden]");
    }
    if (!node->IsSerializable()) {
        text += QStringLiteral(" [not serializable]");
    }
    return text;
}

// What a found target is, with its value where it has one.
QString describeTarget(const AbstractProperty* target) {
    // The library hands targets out read-only; the tool only reads them, but the
    // accessors of the node classes are not const.
    auto* node = const_cast<AbstractProperty*>(target);
    QString text = QStringLiteral("%1 (%2)").arg(node->GetFullPath(), describeType(node));
    if (auto* simple = dynamic_cast<SimpleProperty*>(node)) {
        text += QString(QStringLiteral(" = ") + describeValue(simple->GetValue()));
    } else {
        const QString quantity = describeQuantity(node);
        if (!quantity.isEmpty()) {
            text += QString(QStringLiteral(" = ") + quantity);
        }
    }
    return text;
}

}  // namespace

int closeAllDataFiles() {
    const QList<Orrery::DataFile*> files = Orrery::DataFile::GetDataFileList();
    for (Orrery::DataFile* file : files) {
        delete file;
    }
    return files.size();
}

QString describeValue(const KVariant& value) {
    if (value.isNull()) {
        return QStringLiteral("null");
    }
    const KVariant asText = value.convert(TypeCode::String, 1);
    if (value.isScalar()) {
        return elementText(value, asText, 0);
    }
    QStringList items;
    for (std::size_t i = 0; i < value.size() && i < kShownElements; ++i) {
        items << elementText(value, asText, i);
    }
    if (value.size() > kShownElements) {
        items << QStringLiteral("... %1 more").arg(value.size() - kShownElements);
    }
    return QString(QLatin1Char('[') + items.join(QStringLiteral(", ")) + QLatin1Char(']'));
}

QString describeType(AbstractProperty* node) {
    QString type = node->PropertyObjType();
    if (node->IsMetadata()) {
        type += QStringLiteral(" metadata");
    }
    auto* simple = dynamic_cast<SimpleProperty*>(node);
    if (simple == nullptr) {
        return type;
    }
    const KVariant value = simple->GetValue();
    QString element = ElementTypeName(value.typeCode());
    if (element.isEmpty()) {
        element = value.typeCode() == TypeCode::Custom
                      ? QString::fromStdString(value.elementTypeName())
                      : QStringLiteral("0x%1").arg(value.typeCode(), 4, 16, QLatin1Char('0'));
    }
    type += QString(QLatin1Char(' ') + element);
    if (!value.isNull() && !value.isScalar()) {
        QStringList dims;
        for (std::uint64_t extent : value.dimensions()) {
            dims << QString::number(extent);
        }
        type += QString(QLatin1Char('[') + dims.join(QLatin1Char('x')) + QLatin1Char(']'));
    }
    return type;
}

QString describeQuantity(AbstractProperty* node) {
    auto* container = dynamic_cast<PropertyObject*>(node);
    QString value;
    QString units;
    if (container == nullptr || !childText(container, QStringLiteral("Value"), &value) ||
        !childText(container, QStringLiteral("Units"), &units)) {
        return QString();
    }
    return Orrery::RealString(value, units).scaledValueWithUnits(6);
}

QString describeReference(PropertyReference* reference, bool follow) {
    const QString path = reference->ReferencePath();
    switch (reference->GetReferenceType()) {
        case PropertyReference::REFERENCE_NONE:
            return QStringLiteral("(unset)");
        case PropertyReference::REFERENCE_INTERNAL: {
            const AbstractProperty* target = reference->GetConstRef<AbstractProperty>();
            return QStringLiteral("%1: %2").arg(
                path, target != nullptr ? describeTarget(target)
                                        : QStringLiteral("leads nowhere in this tree"));
        }
        case PropertyReference::REFERENCE_EXTERNAL:
            break;
    }
    const QString file = reference->ReferenceFilePath();
    const QString kind = reference->ReferenceFileType();
    QString text = QStringLiteral("%1 in %2 [%3]").arg(path, file, kind);
    if (!follow) {
        return text;
    }
    const AbstractProperty* target = reference->GetConstRef<AbstractProperty>();
    if (target != nullptr) {
        return QString(text + QStringLiteral(": ") + describeTarget(target));
    }
    Orrery::DataFile* opened = Orrery::DataFile::GetDataFile(file);
    if (opened == nullptr) {
        return QString(
            text + QStringLiteral(": not found (no file kind %1 is registered)").arg(quoted(kind)));
    }
    auto* xml = dynamic_cast<XmlPropertyFile*>(opened);
    if (xml != nullptr && !xml->ErrorString().isEmpty()) {
        return QString(text + QStringLiteral(": not found (") + oneLine(xml->ErrorString()) +
                       QLatin1Char(')'));
    }
    return QString(text + QStringLiteral(": not found (the path leads nowhere in that file)"));
}

int runTree(Invocation& run) {
    QCommandLineParser parser;
    parser.addPositionalArgument(QStringLiteral("file"),
                                 QStringLiteral("A design file of the kind XmlPropertyFile."),
                                 QStringLiteral("FILE"));
    const QCommandLineOption noFollow(
        QStringLiteral("no-follow"),
        QStringLiteral("Do not open the files that external references lead to."));
    parser.addOption(noFollow);
    const int parsed = run.parse(
        parser,
        QStringLiteral("Prints the property tree of FILE, indented, with the type of every node, "
                       "the values (a container holding \"Value\" and \"Units\" is shown scaled "
                       "to the best metric prefix) and where each reference leads. References "
                       "into other files open them on demand; file names may hold variables "
                       "such as $(KORVANE_DIR)."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 1, 1, QStringLiteral("FILE"))) {
        return 1;
    }
    const QString path = parser.positionalArguments().constFirst();
    registerExampleKinds();
    auto* file = new XmlPropertyFile(path, Orrery::DataFile::OpenModeNone);
    if (!QFileInfo(file->ExpandedPath()).isFile()) {
        closeAllDataFiles();
        return run.fail(QStringLiteral("%1 is not a file").arg(quoted(path)));
    }
    file->Load();
    if (!file->IsLoaded()) {
        const QString error = file->ErrorString();
        closeAllDataFiles();
        return run.fail(error);
    }
    const bool follow = !parser.isSet(noFollow);
    struct Frame {
        AbstractProperty* node;
        int depth;
    };
    // The file's own root is not const for the tool that loaded it.
    std::vector<Frame> pending{{file->MutableContents(), 0}};
    QList<AbstractProperty*> children;
    while (!pending.empty()) {
        const Frame frame = pending.back();
        pending.pop_back();
        AbstractProperty* node = frame.node;
        QString line = QString(frame.depth * 2, QLatin1Char(' ')) + node->GetName() +
                       QStringLiteral(" (") + describeType(node) + QLatin1Char(')') +
                       flagsText(node);
        if (auto* simple = dynamic_cast<SimpleProperty*>(node)) {
            line += QString(QStringLiteral(" = ") + describeValue(simple->GetValue()));
        } else if (auto* reference = dynamic_cast<PropertyReference*>(node)) {
            line += QString(QStringLiteral(" -> ") + describeReference(reference, follow));
        } else if (auto* container = dynamic_cast<PropertyObject*>(node)) {
            const QString quantity = describeQuantity(container);
            if (!quantity.isEmpty()) {
                line += QString(QStringLiteral(" = ") + quantity);
            }
            container->GetPropertyList(&children);
            for (auto it = children.crbegin(); it != children.crend(); ++it) {
                pending.push_back(Frame{*it, frame.depth + 1});
            }
        }
        run.out() << line << '\n';
    }
    closeAllDataFiles();
    return 0;
}

}  // namespace OrreryTools
