#include "host/Log.h"

namespace host
{

Q_LOGGING_CATEGORY(lcHost, "Tavrin.Host", QtWarningMsg)

} // namespace host
