#pragma once

// The senders on the network, as a finder of the runtime lists them. Used by one thread.

#include "ndi/tools/common/SenderWait.h"

#include <QtCore/QList>

#include <Processing.NDI.Interface.h>

#include <memory>

namespace nditools
{

class SenderList
{
public:
    // Throws a Failure when the runtime does not look for senders.
    SenderList();

    QList<FoundSender> current() const;
    void waitForChange(std::chrono::milliseconds patience) const;

private:
    struct DestroyFinder {
        void operator()(NDIlib_find_instance_t finder) const { NDIlib_find_destroy(finder); }
    };
    std::unique_ptr<NDIlib_find_instance_type, DestroyFinder> m_finder;
};

} // namespace nditools
