#pragma once

#include <QtCore/QString>

#include <chrono>
#include <optional>

namespace nditools
{

struct FoundSender {
    QString name; // as listed
    QString address;
};

// Waits until the sender that `name` stands for is on the network. Nothing when the program is interrupted meanwhile.
// Throws a Failure when the sender is not there in time, or when the name fits several.
std::optional<FoundSender> waitForSender(const QString &name, std::chrono::milliseconds patience);

} // namespace nditools
