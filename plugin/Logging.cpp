#include "plugin/Logging.h"

const QLoggingCategory &generalCategory()
{
    static const QLoggingCategory category("Multimedia.Tavrin");
    return category;
}

const QLoggingCategory &sourceCategory()
{
    static const QLoggingCategory category("Multimedia.Tavrin.source");
    return category;
}

const QLoggingCategory &sinkCategory()
{
    static const QLoggingCategory category("Multimedia.Tavrin.sink");
    return category;
}
