// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief The commands of the `orrery` tool and what they share: argument parsing with
 *        QCommandLineParser, one-line error messages and the example data.
 */
#pragma once

#include <qel/kvariant.h>

#include <QCommandLineParser>
#include <QString>
#include <QStringList>
#include <QTextStream>

namespace Orrery {
class AbstractProperty;
class PropertyReference;
}  // namespace Orrery

namespace OrreryTools {

/**
 * @brief One run of a command: its name, its arguments and the two output streams.
 */
class Invocation {
public:
    /**
     * @brief A run of @p command ("units", "path normalize") with @p arguments, the
     *        arguments after the command's name.
     */
    Invocation(const QString& command, const QStringList& arguments, QTextStream& out,
               QTextStream& err);

    /// @brief The command's name as shown in messages and help ("path normalize").
    const QString& command() const { return commandName; }
    /// @brief The arguments after the command's name.
    const QStringList& arguments() const { return args; }
    /// @brief Standard output.
    QTextStream& out() { return output; }
    /// @brief Standard error.
    QTextStream& err() { return errors; }

    /**
     * @brief Adds the help option, parses the arguments and answers --help.
     * @param parser the command's parser, its options and positional arguments added
     * @param description the command's one-paragraph description for --help
     * @return -1 when the command should go on; 0 after printing the help; 1 after an
     *         error message for arguments the parser rejects.
     */
    int parse(QCommandLineParser& parser, const QString& description);
    /**
     * @brief Writes "orrery <command>: <message>" as one line on standard error.
     * @return 1, the exit status for bad input.
     */
    int fail(const QString& message);
    /**
     * @brief Checks the number of positional arguments.
     * @return true when it lies in [@p minimum, @p maximum]; otherwise false after a
     *         message naming @p usage.
     */
    bool expectPositionals(const QCommandLineParser& parser, int minimum, int maximum,
                           const QString& usage);
    /// @brief A run of the sub-action @p action with the arguments after it.
    Invocation subcommand(const QString& action, const QStringList& rest);

private:
    QString commandName;
    QStringList args;
    QTextStream& output;
    QTextStream& errors;
};

/// @brief @p text with line breaks replaced by blanks and blanks trimmed, for messages.
QString oneLine(const QString& text);
/// @brief @p text in double quotation marks.
QString quoted(const QString& text);
/// @brief The shortest text that reads back as @p value; plain decimals from 1e-6 to 1e15.
QString realText(double value);

/**
 * @brief The directory of the example data: @p given when not empty, else the one whose
 *        example installation holds the tool (<examples>/korvane/bin), else the installed
 *        copy beside the tool, else the source tree's examples/ folder.
 * @return the directory, or an empty string when none holds the example designs.
 */
QString exampleDirectory(const QString& given);

/**
 * @brief Registers the example kinds: the property-object type "Quantity" and the
 *        data-file kind "XmlPropertyFile". Repeated calls change nothing.
 */
void registerExampleKinds();

/**
 * @brief Deletes every data file still listed as open, which takes each out of the list.
 * @return the number of files deleted.
 */
int closeAllDataFiles();

/// @brief A value as the tool shows it: "\"text\"", "4700", "true", "[1, 2]", "null".
QString describeValue(const Tolmarsk::Qel::KVariant& value);
/// @brief The type of a node as the tool shows it: "PropObj", "Prop double", "Prop string[4]".
QString describeType(Orrery::AbstractProperty* node);
/**
 * @brief A container's value with units, when it holds simple "Value" and "Units" children:
 *        the value scaled to the best prefix ("4.7 kOhm"); empty otherwise.
 */
QString describeQuantity(Orrery::AbstractProperty* node);
/**
 * @brief Where a reference leads: its stored path (and file), then the target found, or
 *        why none was found. External references open their file when @p follow is true.
 */
QString describeReference(Orrery::PropertyReference* reference, bool follow);

/**
 * @brief Runs the tool: @p arguments are the whole command line, the program first.
 * @return the process exit status: 0 on success, 1 for bad input.
 */
int runTool(const QStringList& arguments, QTextStream& out, QTextStream& err);

int runDemo(Invocation& run);       ///< `orrery demo`
int runUnits(Invocation& run);      ///< `orrery units`
int runPath(Invocation& run);       ///< `orrery path`
int runExpand(Invocation& run);     ///< `orrery expand`
int runComponent(Invocation& run);  ///< `orrery component`
int runXml(Invocation& run);        ///< `orrery xml`
int runTree(Invocation& run);       ///< `orrery tree`
int runEnv(Invocation& run);        ///< `orrery env`

}  // namespace OrreryTools
