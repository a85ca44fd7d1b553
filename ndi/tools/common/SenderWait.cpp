#include "ndi/tools/common/SenderWait.h"

#include "ndi/tools/common/Failure.h"
#include "ndi/tools/common/Interrupt.h"
#include "ndi/tools/common/SenderChoice.h"
#include "ndi/tools/common/SenderList.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QStringList>

#include <algorithm>

namespace nditools
{

namespace
{

constexpr std::chrono::milliseconds LongestWait{100}; // until an interrupt is noticed

QStringList namesOf(const QList<FoundSender> &senders)
{
    QStringList names;
    for (const FoundSender &sender : senders)
        names.append(sender.name);
    return names;
}

Failure noSender(const QString &name, std::chrono::milliseconds patience, const QStringList &others)
{
    const QString there = others.isEmpty() ? QStringLiteral("no sender is on the network")
                                           : QStringLiteral("on the network: %1").arg(quotedNames(others));
    return {ExitCode::NoSender, QStringLiteral("no sender '%1' within %2 s; %3")
                                    .arg(name)
                                    .arg(static_cast<double>(patience.count()) / 1000)
                                    .arg(there)};
}

} // namespace

std::optional<FoundSender> waitForSender(const QString &name, std::chrono::milliseconds patience)
{
    const SenderList list;
    const QDeadlineTimer deadline(patience);
    while (!interrupted()) {
        const QList<FoundSender> senders = list.current();
        const QStringList names = namesOf(senders);
        if (const auto index = chooseSender(names, name))
            return senders.at(*index);
        if (deadline.hasExpired())
            throw noSender(name, patience, names);
        list.waitForChange(std::min(LongestWait, std::chrono::milliseconds(deadline.remainingTime())));
    }
    return std::nullopt;
}

} // namespace nditools
