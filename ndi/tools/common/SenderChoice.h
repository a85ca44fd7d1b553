#pragma once

// From what the user calls a sender to one of those on the network.

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <optional>

namespace nditools
{

// The index of the full name that is `name`, else of the one that has it as the part in brackets, else of the only one
// that contains it. Throws a Failure when several fit equally well.
std::optional<int> chooseSender(const QStringList &fullNames, const QString &name);

// For a sentence: the names in quotes, with commas between.
QString quotedNames(const QStringList &names);

} // namespace nditools
