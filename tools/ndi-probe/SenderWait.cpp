#include "tools/ndi-probe/SenderWait.h"

#include "plugin/NdiGuards.h"
#include "tools/ndi-probe/Failure.h"
#include "tools/ndi-probe/SenderChoice.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QList>

namespace ndiprobe
{

namespace
{

QList<NDIInput> currentSenders(const NdiFinder &finder)
{
    uint32_t count = 0;
    const NDIlib_source_t *const sources = NDIlib_find_get_current_sources(finder.get(), &count);
    QList<NDIInput> senders;
    for (uint32_t index = 0; index < count; ++index)
        senders.append(NDIInput(sources[index]));
    return senders;
}

QStringList namesOf(const QList<NDIInput> &senders)
{
    QStringList names;
    for (const NDIInput &sender : senders)
        names.append(sender.name());
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

NDIInput waitForSender(const QString &name, std::chrono::milliseconds patience)
{
    const NDIlib_find_create_t settings;
    const NdiFinder finder(NDIlib_find_create_v2(&settings));
    if (!finder)
        throw Failure(ExitCode::NoRuntime, QStringLiteral("the NDI runtime does not look for senders"));
    const QDeadlineTimer deadline(patience);
    for (;;) {
        const QList<NDIInput> senders = currentSenders(finder);
        const QStringList names = namesOf(senders);
        if (const auto index = chooseSender(names, name))
            return senders.at(*index);
        if (deadline.hasExpired())
            throw noSender(name, patience, names);
        NDIlib_find_wait_for_sources(finder.get(), static_cast<uint32_t>(deadline.remainingTime()));
    }
}

} // namespace ndiprobe
