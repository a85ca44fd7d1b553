#include "ndi/tools/common/SenderChoice.h"

#include "ndi/tools/common/Failure.h"

namespace nditools
{

namespace
{

template <typename Predicate>
std::optional<int> onlyOne(const QStringList &fullNames, const QString &name, Predicate &&fits)
{
    QStringList fitting;
    for (const QString &fullName : fullNames)
        if (fits(fullName))
            fitting.append(fullName);
    if (fitting.size() > 1)
        throw Failure(ExitCode::Usage,
                      QStringLiteral("'%1' fits more than one sender: %2").arg(name, quotedNames(fitting)));
    return fitting.isEmpty() ? std::nullopt : std::optional<int>(fullNames.indexOf(fitting.constFirst()));
}

} // namespace

std::optional<int> chooseSender(const QStringList &fullNames, const QString &name)
{
    const QString bracketed = QStringLiteral(" (%1)").arg(name);
    if (const auto index = fullNames.indexOf(name); index >= 0)
        return index;
    if (const auto index = onlyOne(fullNames, name, [&](const QString &full) { return full.endsWith(bracketed); }))
        return index;
    return onlyOne(fullNames, name, [&](const QString &full) { return full.contains(name); });
}

QString quotedNames(const QStringList &names)
{
    return QStringLiteral("'%1'").arg(names.join(QStringLiteral("', '")));
}

} // namespace nditools
