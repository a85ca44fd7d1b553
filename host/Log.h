#pragma once

#include <QtCore/QLoggingCategory>

namespace host
{

Q_DECLARE_LOGGING_CATEGORY(lcHost)

} // namespace host
