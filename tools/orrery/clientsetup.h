// SPDX-License-Identifier: MIT
/**
 * @file
 * @brief What `orrery demo` and `orrery env` share of the client set-up.
 */
#pragma once

#include <vexil/clientenvironment.h>

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <string>
#include <vector>

namespace OrreryTools {

/**
 * @brief A client environment whose messages are collected instead of written to the
 *        standard error stream, so that the demo can show them in its report.
 */
class ReportingClientEnvironment : public vexil::ClientEnvironment {
public:
    /// @brief The messages passed to the sink since the last call, in order.
    std::vector<std::string> takeMessages();
    /// @brief Whether the registry-versus-environment check is still on.
    bool checkEnabled() const { return check_reg_verses_getenv_enabled; }
    /// @brief Whether "-debug_env" turned the argument echo on.
    bool echoEnabled() const { return debugging_output; }

protected:
    void show_info_message(const std::string& message) const override;

private:
    mutable std::vector<std::string> messages;
};

/**
 * @brief Lets @p parser accept the client environment's own switches, "-no_reg_vs_env" and
 *        "-debug_env", which the set-up reads from the process's arguments.
 */
void addClientSwitches(QCommandLineParser& parser);

/// @brief The variables the client set-up exports, in the order it exports them.
const QStringList& exportedVariables();

/// @brief The value of environment variable @p name as UTF-8 text; empty when unset.
QString environmentValue(const QString& name);

/**
 * @brief Makes sure the home directory that the set-up will choose can hold its
 *        "korvane/config" folder, so that the set-up does not end the process.
 * @return an empty string, or the one-line reason why the folder cannot be created.
 */
QString prepareHomeDirectory(vexil::ClientEnvironment& client);

/// @brief The arguments recorded in the process's command-line object, joined by blanks.
QString recordedArguments();

}  // namespace OrreryTools
