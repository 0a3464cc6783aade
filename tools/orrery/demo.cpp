// SPDX-License-Identifier: MIT
// orrery demo: the typical client run of the library on the example data, step by step:
// start-up, client environment, data files, values and references, components and file
// names, shut-down.

#include "clientsetup.h"
#include "tool.h"

#include "../quantity.h"
#include "../xmlpropertyfile.h"

#include <orrery/components.h>
#include <orrery/datafile.h>
#include <orrery/filename.h>
#include <orrery/startup.h>
#include <orrery/units.h>
#include <vexil/core.h>

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTextCodec>

#include <memory>
#include <stdexcept>
#include <string>

namespace OrreryTools {

namespace {

namespace Filename = Orrery::Filename;
using Orrery::AbstractProperty;
using Orrery::DataFile;
using Orrery::PropertyObject;
using Orrery::PropertyReference;

const char* const kIndent = "   ";

// Deletes the data files that are still open when the demo leaves early.
class OpenFilesGuard {
public:
    OpenFilesGuard() = default;
    OpenFilesGuard(const OpenFilesGuard&) = delete;
    OpenFilesGuard& operator=(const OpenFilesGuard&) = delete;
    ~OpenFilesGuard() { closeAllDataFiles(); }
};

QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

std::string utf8(const QString& text) {
    return text.toStdString();
}

QString yesNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

void printMessages(QTextStream& out, ReportingClientEnvironment& client) {
    for (const std::string& message : client.takeMessages()) {
        for (const QString& line : text(message).split(QLatin1Char('\n'))) {
            if (!line.trimmed().isEmpty()) {
                out << kIndent << "| " << line << '\n';
            }
        }
    }
}

int countNodes(const PropertyObject* root) {
    int count = 0;
    std::vector<const PropertyObject*> pending{root};
    QList<AbstractProperty*> children;
    while (!pending.empty()) {
        const PropertyObject* container = pending.back();
        pending.pop_back();
        container->GetPropertyList(&children);
        count += children.size();
        for (AbstractProperty* child : children) {
            if (auto* object = dynamic_cast<const PropertyObject*>(child)) {
                pending.push_back(object);
            }
        }
    }
    return count;
}

// The container at @p path in @p file; null when there is none.
PropertyObject* containerAt(DataFile* file, const QString& path) {
    return dynamic_cast<PropertyObject*>(file->ResolveObjectPath(path));
}

// "4.7 kOhm" for the quantity at @p path, or "" when there is none.
QString quantityAt(DataFile* file, const QString& path) {
    return describeQuantity(file->ResolveObjectPath(path));
}

// Names the staged examples for the copy of the tool that runs from them.
const char* const kStagedExamplesVariable = "ORRERY_DEMO_STAGED_EXAMPLES";

// Copies the file @p from to @p to, creating the folders of @p to and replacing the file.
bool copyFile(const QString& from, const QString& to) {
    if (!QDir().mkpath(QFileInfo(to).path())) {
        return false;
    }
    QFile::remove(to);
    return QFile::copy(from, to);
}

/*
 * Runs the demo in a copy of the tool placed in the bin folder of a temporary copy of
 * @p examples, with the same arguments and standard streams, and removes the copies.
 * The libraries in the tool's folder go with it, so that the copy starts as the tool does.
 */
int runFromStagedInstallation(Invocation& run, const QString& examples) {
    QTemporaryDir stage;
    if (!stage.isValid()) {
        return run.fail(
            QStringLiteral("cannot create a temporary folder: %1").arg(stage.errorString()));
    }
    const QString copy = QString(stage.path() + QStringLiteral("/examples"));
    const QString bin = QString(copy + QStringLiteral("/korvane/bin"));
    bool copied = copyFile(QString(examples + QStringLiteral("/registry.ini")),
                           QString(copy + QStringLiteral("/registry.ini")));
    const QString korvane = QString(examples + QStringLiteral("/korvane"));
    QDirIterator files(korvane, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (copied && files.hasNext()) {
        const QString file = files.next();
        copied =
            copyFile(file, QString(copy + QStringLiteral("/korvane") + file.mid(korvane.size())));
    }
    const QFileInfo tool(QCoreApplication::applicationFilePath());
    copied = copied && copyFile(tool.filePath(), QString(bin + QLatin1Char('/') + tool.fileName()));
    const QDir toolFolder = tool.dir();
    for (const QString& library :
         toolFolder.entryList({QStringLiteral("*.dll")}, QDir::Files, QDir::Name)) {
        copied = copied &&
                 copyFile(toolFolder.filePath(library), QString(bin + QLatin1Char('/') + library));
    }
    if (!copied) {
        return run.fail(
            QStringLiteral("cannot copy the examples and the tool to %1").arg(quoted(copy)));
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(kStagedExamplesVariable), copy);
    QProcess child;
    child.setProcessEnvironment(environment);
    child.setProcessChannelMode(QProcess::ForwardedChannels);
    run.out().flush();
    run.err().flush();
    child.start(QString(bin + QLatin1Char('/') + tool.fileName()),
                QCoreApplication::arguments().mid(1));
    if (!child.waitForStarted(-1) || !child.waitForFinished(-1) ||
        child.exitStatus() != QProcess::NormalExit) {
        return run.fail(
            QStringLiteral("the staged copy of the tool did not run: %1").arg(child.errorString()));
    }
    return child.exitCode();
}

}  // namespace

int runDemo(Invocation& run) {
    QCommandLineParser parser;
    const QCommandLineOption examplesOption(
        QStringLiteral("examples"),
        QStringLiteral("The example data (default: the installed copy, else the source tree's "
                       "examples folder)."),
        QStringLiteral("DIR"));
    const QCommandLineOption homeOption(
        QStringLiteral("home"),
        QStringLiteral("Use DIR as the home directory instead of a temporary folder; "
                       "\"korvane/config\" is created in it."),
        QStringLiteral("DIR"));
    parser.addOption(examplesOption);
    parser.addOption(homeOption);
    addClientSwitches(parser);
    const int parsed = run.parse(
        parser,
        QStringLiteral(
            "Runs what every application of the suite does with the library, on the example "
            "data, and reports each step: start-up, the client environment, data files and "
            "their property trees, values with units, references into another file, installed "
            "components and file names, and shut-down. VEXIL_INSTALLATION_DIR, KORVANE_DIR, "
            "VEXIL_REGISTRY_FILE and HOME are set for the run; HOME is a temporary folder unless "
            "--home is given, so "
            "the real home directory is never written. Where the installation directory "
            "follows the program's location (Windows), a copy of the tool runs from a "
            "temporary copy of the examples."));
    if (parsed >= 0) {
        return parsed;
    }
    if (!run.expectPositionals(parser, 0, 0, QStringLiteral("[options]"))) {
        return 1;
    }
    // A demo started from a staged installation takes the examples staged for it.
    const QString staged = environmentValue(QLatin1String(kStagedExamplesVariable));
    vexil::putenv_stdstring(kStagedExamplesVariable, "");
    const QString examples =
        staged.isEmpty() ? exampleDirectory(parser.value(examplesOption)) : staged;
    if (examples.isEmpty()) {
        return run.fail(
            parser.isSet(examplesOption)
                ? QStringLiteral("%1 holds no example data (korvane/designs/frontend.oxml)")
                      .arg(quoted(parser.value(examplesOption)))
                : QStringLiteral("the example data cannot be found; give it with --examples"));
    }
    if (parser.isSet(homeOption) && parser.value(homeOption).isEmpty()) {
        return run.fail(QStringLiteral("the home directory must not be empty"));
    }
    const QString installation = QString(examples + QStringLiteral("/korvane"));
    const QString registry = QString(examples + QStringLiteral("/registry.ini"));

    // The client runs from the example installation. Where the host does not let
    // VEXIL_INSTALLATION_DIR steer the installation directory (Windows takes it from where
    // the program lies), a copy of the tool runs from a staged copy of the examples.
    vexil::putenv_stdstring("VEXIL_INSTALLATION_DIR", utf8(installation));
    if (!Filename::is_same_pathname(vexil::get_installation_directory(), utf8(installation))) {
        if (!staged.isEmpty()) {
            return run.fail(
                QStringLiteral("the staged copy does not run from %1").arg(quoted(installation)));
        }
        return runFromStagedInstallation(run, examples);
    }

    std::unique_ptr<QTemporaryDir> temporaryHome;
    QString home;
    if (parser.isSet(homeOption)) {
        home = QFileInfo(parser.value(homeOption)).absoluteFilePath();
    } else {
        temporaryHome = std::make_unique<QTemporaryDir>();
        if (!temporaryHome->isValid()) {
            return run.fail(QStringLiteral("cannot create a temporary home folder: %1")
                                .arg(temporaryHome->errorString()));
        }
        home = QString(temporaryHome->path() + QStringLiteral("/home"));
    }
    OpenFilesGuard closeFilesOnExit;
    QTextStream& out = run.out();

    out << "Orrery demo: a typical client run on the example data in " << examples << "\n\n";

    // 0. The environment of the run.
    // KORVANE_DIR names the example installation for the $(KORVANE_DIR) references of the
    // designs.
    vexil::putenv_stdstring("KORVANE_DIR", utf8(installation));
    vexil::putenv_stdstring("VEXIL_REGISTRY_FILE", utf8(registry));
    vexil::putenv_stdstring("HOME", utf8(home));
    vexil::putenv_stdstring("VEXIL_REFERRED_COMPONENT_FILE", "");
    out << "0. The example environment\n"
        << kIndent << "VEXIL_INSTALLATION_DIR=" << installation
        << "   (the example installation, where the client runs from)\n"
        << kIndent << "KORVANE_DIR=" << installation << "   (names it in the designs)\n"
        << kIndent << "VEXIL_REGISTRY_FILE=" << registry
        << "   (stands in for the registry; Windows reads its own registry)\n"
        << kIndent << "HOME=" << home
        << (temporaryHome ? "   (a temporary folder, removed at the end)\n" : "\n") << '\n';

    // 1. Start-up: main() called initialize_qt_core_application before any command ran.
    out << "1. Start-up\n"
        << kIndent << "initialize_qt_core_application(argc, argv, \"orrery\"): application "
        << quoted(QCoreApplication::applicationName()) << ", organisation "
        << quoted(QCoreApplication::organizationName()) << ", locale codec "
        << QString::fromLatin1(QTextCodec::codecForLocale()->name()) << '\n'
        << kIndent << "arguments recorded as UTF-8: " << recordedArguments() << '\n'
        << kIndent << "product: " << get_product_name() << ' ' << get_product_version() << "\n\n";

    // 2. The client environment.
    out << "2. Client environment\n";
    ReportingClientEnvironment client;
    client.process_arguments();
    out << kIndent << "process_arguments(): registry check "
        << (client.checkEnabled() ? "on" : "off") << ", argument echo "
        << (client.echoEnabled() ? "on" : "off") << "; arguments left: " << recordedArguments()
        << '\n';
    printMessages(out, client);
    const QString homeProblem = prepareHomeDirectory(client);
    if (!homeProblem.isEmpty()) {
        return run.fail(homeProblem);
    }
    try {
        client.setup_environment();
    } catch (const std::runtime_error&) {
        return run.fail(QStringLiteral("the installation directory %1 cannot be entered")
                            .arg(quoted(installation)));
    }
    out << kIndent << "setup_environment() exported:\n";
    for (const QString& name : exportedVariables()) {
        QString value = environmentValue(name);
        if (value.isEmpty()) {
            continue;
        }
        QString note;
        std::string inRegistry;
        if (name == QLatin1String("PATH")) {
            const QStringList entries = value.split(QLatin1Char(';'));
            note = QStringLiteral("   (%1 entries; the installation's first)").arg(entries.size());
            value = QString(entries.constFirst() + QStringLiteral(";..."));
        } else if (name == QLatin1String("HOME")) {
            note = QDir(QString(value + QStringLiteral("/korvane/config"))).exists()
                       ? QStringLiteral("   (korvane/config is there)")
                       : QString();
        } else if (vexil::getenv_from_registry_only(utf8(name), &inRegistry) &&
                   text(inRegistry) == value) {
            note = QStringLiteral("   (from the registry)");
        }
        out << kIndent << "  "
            << QString(name + QLatin1Char(' ')).leftJustified(15, QLatin1Char(' ')) << "= " << value
            << note << '\n';
    }
    client.check_reg_verses_getenv();
    out << kIndent << "check_reg_verses_getenv(): ";
    const std::vector<std::string> warnings = client.takeMessages();
    if (!client.checkEnabled()) {
        out << "turned off\n";
    } else if (warnings.empty()) {
        out << "KORVANE_DIR agrees with the installation directory\n";
    } else {
        out << "warns:\n";
        for (const std::string& message : warnings) {
            for (const QString& line : text(message).split(QLatin1Char('\n'))) {
                if (!line.trimmed().isEmpty()) {
                    out << kIndent << "| " << line << '\n';
                }
            }
        }
    }
    out << '\n';

    // 3. File kinds, property-object types and the first design.
    out << "3. Data files\n";
    Quantity::Register();
    QStringList types;
    Orrery::PropertyObjectFactory::Instance()->GetTypeList(&types);
    types.sort();
    out << kIndent << "PropertyObjectFactory::RegisterType(\"Quantity\"): known types "
        << types.join(QStringLiteral(", ")) << '\n';
    const int kinds = XmlPropertyFile::Register();
    out << kIndent << "DataFileFactory::RegisterFileType(\"XmlPropertyFile\"): " << kinds
        << (kinds == 1 ? " file kind" : " file kinds") << " registered\n";
    const std::string installDir = utf8(QString::fromStdString(
        vexil::CommandLine::get_command_line()->get_installation_directory()));
    const QString designPath = text(Filename::normalize_pathname_with_forward_slash(
        Filename::append_filename(installDir, std::string("designs\\frontend.oxml"))));
    DataFile* design =
        Orrery::DataFileFactory::CreateDataFile(designPath, XmlPropertyFile::TypeName());
    if (design == nullptr) {
        return run.fail(QStringLiteral("the file kind XmlPropertyFile is not registered"));
    }
    design->Load();
    if (!design->IsLoaded()) {
        return run.fail(dynamic_cast<XmlPropertyFile*>(design)->ErrorString());
    }
    out << kIndent << "CreateDataFile(" << quoted(designPath)
        << ", \"XmlPropertyFile\"), Load(): " << countNodes(design->GetFileContents())
        << " nodes under " << design->ResolveObjectPath(QStringLiteral("/"))->GetName()
        << "; open data files: " << DataFile::GetDataFileList().size() << "\n\n";

    // 4. Values, references and units.
    out << "4. Values\n";
    PropertyObject* header = containerAt(design, QStringLiteral("/Design"));
    QString name;
    int revision = 0;
    bool released = true;
    double loss = 0.0;
    if (header == nullptr ||
        header->GetProperty(QStringLiteral("Name"), &name) != Orrery::RESULT_OK ||
        header->GetProperty(QStringLiteral("Revision"), &revision) != Orrery::RESULT_OK ||
        header->GetProperty(QStringLiteral("Released"), &released) != Orrery::RESULT_OK) {
        return run.fail(QStringLiteral("%1 has no /Design with Name, Revision and Released")
                            .arg(quoted(designPath)));
    }
    PropertyObject* board = containerAt(design, QStringLiteral("/Board"));
    if (board == nullptr ||
        board->GetProperty(QStringLiteral("LossTangent"), &loss) != Orrery::RESULT_OK) {
        return run.fail(QStringLiteral("%1 has no /Board/LossTangent").arg(quoted(designPath)));
    }
    out << kIndent << "/Design/Name          GetProperty(QString*) = " << quoted(name) << '\n'
        << kIndent << "/Design/Revision      GetProperty(int*)     = " << revision << '\n'
        << kIndent
        << "/Design/Released      GetProperty(bool*)    = " << (released ? "true" : "false") << '\n'
        << kIndent
        << "/Board/LossTangent    GetProperty(double*)  = " << QString::number(loss, 'g', 6)
        << '\n';

    auto* width =
        dynamic_cast<Quantity*>(design->ResolveObjectPath(QStringLiteral("/Board/TraceWidth")));
    auto* clock =
        dynamic_cast<Quantity*>(design->ResolveObjectPath(QStringLiteral("/Clock/Frequency")));
    if (width == nullptr || clock == nullptr) {
        return run.fail(
            QStringLiteral("%1 has no quantities /Board/TraceWidth and /Clock/Frequency")
                .arg(quoted(designPath)));
    }
    out << kIndent << "/Board/TraceWidth     " << width->Value() << " in " << quoted(width->Units())
        << ": RealString in mm "
        << width->ToRealString(QStringLiteral("mm"), false).scaledValueWithUnits(6) << ", in um "
        << width->ToRealString(QStringLiteral("um"), false).scaledValueWithUnits(6) << '\n'
        << kIndent << "/Clock/Frequency      " << clock->Value() << " in " << quoted(clock->Units())
        << ": scaled " << clock->ToRealString().scaledValueWithUnits(6) << ", asReal "
        << realText(Orrery::RealString::asReal(
               QString(clock->Value() + QLatin1Char(' ') + clock->Units()), nullptr))
        << '\n';

    auto* resistor =
        dynamic_cast<PropertyReference*>(design->ResolveObjectPath(QStringLiteral("/Parts/R1")));
    auto* capacitor =
        dynamic_cast<PropertyReference*>(design->ResolveObjectPath(QStringLiteral("/Parts/C1")));
    auto* source = dynamic_cast<PropertyReference*>(
        design->ResolveObjectPath(QStringLiteral("/Parts/ClockSource")));
    if (resistor == nullptr || capacitor == nullptr || source == nullptr) {
        return run.fail(
            QStringLiteral("%1 has no references /Parts/R1, /Parts/C1 and /Parts/ClockSource")
                .arg(quoted(designPath)));
    }
    out << kIndent << "/Parts/R1 is an external reference to " << resistor->ReferencePath()
        << " in " << resistor->ReferenceFilePath() << " [" << resistor->ReferenceFileType()
        << "]\n";
    const int openBefore = DataFile::GetDataFileList().size();
    if (resistor->GetConstRef<PropertyObject>() == nullptr) {
        return run.fail(QString(QStringLiteral("/Parts/R1 cannot be followed: ") +
                                describeReference(resistor, true)));
    }
    DataFile* library = DataFile::GetDataFile(resistor->ReferenceFilePath());
    out << kIndent << "  following it created and loaded " << quoted(library->GetPath())
        << " on demand; open data files: " << openBefore << " -> "
        << DataFile::GetDataFileList().size() << '\n';
    PropertyObject* part = containerAt(library, resistor->ReferencePath());
    double tolerance = 0.0;
    if (part == nullptr ||
        part->GetProperty(QStringLiteral("Tolerance"), &tolerance) != Orrery::RESULT_OK) {
        return run.fail(QStringLiteral("%1 has no Tolerance").arg(resistor->ReferencePath()));
    }
    auto* resistance = dynamic_cast<Quantity*>(part->GetPropertyPtr(QStringLiteral("Resistance")));
    if (resistance == nullptr) {
        return run.fail(QStringLiteral("%1 has no Resistance").arg(resistor->ReferencePath()));
    }
    out << kIndent << "  " << resistor->ReferencePath() << "/Resistance " << resistance->Value()
        << " in " << quoted(resistance->Units()) << ": scaled "
        << resistance->ToRealString().scaledValueWithUnits(6) << "; Tolerance "
        << QString::number(tolerance, 'g', 6) << '\n';
    if (capacitor->GetConstRef<PropertyObject>() == nullptr) {
        return run.fail(QString(QStringLiteral("/Parts/C1 cannot be followed: ") +
                                describeReference(capacitor, true)));
    }
    out << kIndent
        << "/Parts/C1 leads into the same file, already open: " << capacitor->ReferencePath()
        << "/Capacitance = "
        << quantityAt(DataFile::GetDataFile(capacitor->ReferenceFilePath()),
                      QString(capacitor->ReferencePath() + QStringLiteral("/Capacitance")))
        << "; open data files: " << DataFile::GetDataFileList().size() << '\n';
    out << kIndent << "/Parts/ClockSource is an internal reference "
        << quoted(source->ReferencePath()) << " to "
        << source->GetFullPathToReference(QStringLiteral("/Parts")) << " = "
        << (source->GetConstRef<PropertyObject>() != nullptr
                ? quantityAt(design, source->GetFullPathToReference(QStringLiteral("/Parts")))
                : QStringLiteral("(not found)"))
        << "\n\n";

    // 5. Installed components and file names.
    out << "5. Components and file names\n";
    QString spec;
    PropertyObject* models = containerAt(design, QStringLiteral("/Models"));
    if (models == nullptr ||
        models->GetProperty(QStringLiteral("Passives"), &spec) != Orrery::RESULT_OK) {
        return run.fail(QStringLiteral("%1 has no /Models/Passives").arg(quoted(designPath)));
    }
    QString component;
    QString qualifier;
    QString member;
    QString prefix;
    Orrery::ParseComponentMemberSpecification(spec, component, qualifier, member, prefix);
    out << kIndent << "/Models/Passives = " << quoted(spec) << '\n'
        << kIndent << "  ParseComponentMemberSpecification: component " << quoted(component)
        << ", qualifier " << quoted(qualifier) << ", member " << quoted(member) << '\n';
    const QString productRoot = text(Filename::normalize_pathname_with_forward_slash(
        Filename::append_filename(installDir, std::string("products/frontend"))));
    const QString wanted =
        Orrery::QueryReferredComponentLocation(productRoot, component, qualifier, true);
    const QString highest =
        Orrery::QueryReferredComponentLocation(productRoot, component, QString(), true);
    if (wanted.isEmpty() || highest.isEmpty()) {
        return run.fail(
            QStringLiteral("%1 records no location of %2")
                .arg(quoted(Orrery::InstComponentData::GetComponentFullPathtoRefFile(productRoot)),
                     quoted(component)));
    }
    out << kIndent << "product root " << productRoot << ", its "
        << Orrery::InstComponentData::s_ComponentRefFile << " names versions 1.0 and 2.0\n"
        << kIndent << "  QueryReferredComponentLocation(version " << quoted(qualifier)
        << ") = " << wanted << '\n'
        << kIndent << "  QueryReferredComponentLocation(no version, the highest) = " << highest
        << '\n';
    const std::string memberFile = Filename::append_filename(utf8(wanted), utf8(member));
    out << kIndent << "  append_filename(location, member) = " << text(memberFile)
        << "; path_exists: " << yesNo(Filename::path_exists(memberFile)) << '\n';

    const std::string designName = utf8(designPath);
    const std::string libraryPath = utf8(dynamic_cast<XmlPropertyFile*>(library)->ExpandedPath());
    std::string relative;
    Filename::make_relative_path(libraryPath, installDir, &relative);
    const std::string messy =
        Filename::append_filename(installDir, std::string("designs/./drafts/../library.oxml"));
    out << kIndent << "get_leafname(design) = " << quoted(text(Filename::get_leafname(designName)))
        << ", get_extension = " << quoted(text(Filename::get_extension(designName)))
        << ", rename_extension(\"bak\") ends in "
        << quoted(text(
               Filename::get_leafname(Filename::rename_extension(designName, std::string("bak")))))
        << '\n'
        << kIndent << "make_relative_path(library, installation) = " << quoted(text(relative))
        << '\n'
        << kIndent
        << "append_filename(installation, \"designs/./drafts/../library.oxml\") = " << text(messy)
        << '\n'
        << kIndent << "is_same_pathname(library, that name) = "
        << yesNo(Filename::is_same_pathname(libraryPath, messy)) << "\n\n";

    // 6. Shut-down.
    out << "6. Shut-down\n";
    const int closed = closeAllDataFiles();
    out << kIndent << "deleted the " << closed
        << " data files; open data files: " << DataFile::GetDataFileList().size() << '\n';
    if (temporaryHome) {
        temporaryHome->remove();
        out << kIndent << "removed the temporary home folder\n";
    }
    uninitialize_qt_core_application();
    out << kIndent << "uninitialize_qt_core_application(): core application "
        << (QCoreApplication::instance() == nullptr ? "deleted" : "still there") << '\n'
        << "\nEvery step ran.\n";
    return 0;
}

}  // namespace OrreryTools
