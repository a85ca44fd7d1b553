#include "multimedia/Log.h"

Q_LOGGING_CATEGORY(multimediaLog, "Multimedia")
