#include "host/graph/LeftOutLog.h"

#include "tests/host/EventLoop.h"

#include <gtest/gtest.h>

namespace
{

host::PortFigures port(const char *name, unsigned late, unsigned full)
{
    host::PortFigures figures;
    figures.name = QString::fromLatin1(name);
    figures.leftOutFirst = 7;
    figures.leftOutLate = late;
    figures.leftOutFull = full;
    return figures;
}

TEST(LeftOutLog, SaysNothingWhereNothingIsLeftOut)
{
    host::LeftOutLog log;
    EXPECT_EQ(QString(), log.text({}));
    EXPECT_EQ(QString(), log.text({port("Studio, picture", 0, 0)}));
}

TEST(LeftOutLog, PutsAllPortsIntoOneLine)
{
    host::LeftOutLog log;
    EXPECT_EQ(QStringLiteral("Left out before Studio, picture: 3 late, 1 with no room for them; "
                             "Studio, sound: 0 late, 2 with no room for them"),
              log.text({port("Studio, picture", 3, 1), port("Studio, sound", 0, 2), port("Other, sound", 0, 0)}));
}

TEST(LeftOutLog, SaysAllSinceTheLineBeforeButNotWithinASecond)
{
    host::LeftOutLog log;
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_FALSE(log.text({port("Studio, picture", 1, 0)}).isEmpty());
    QString next;
    unsigned late = 1;
    EXPECT_TRUE(waitUntil([&] {
        next = log.text({port("Studio, picture", ++late, 0)});
        return !next.isEmpty();
    }));
    EXPECT_LE(1000, elapsed.elapsed());
    EXPECT_EQ(QStringLiteral("Left out before Studio, picture: %1 late, 0 with no room for them").arg(late - 1), next);
}

TEST(LeftOutLog, BeginsAnewWithASinkThatWasMadeAnew)
{
    host::LeftOutLog log;
    log.text({port("Studio, picture", 5, 0)});
    QString next;
    EXPECT_TRUE(waitUntil([&] {
        next = log.text({port("Studio, picture", 2, 0)});
        return !next.isEmpty();
    }));
    EXPECT_EQ(QStringLiteral("Left out before Studio, picture: 2 late, 0 with no room for them"), next);
}

} // namespace
