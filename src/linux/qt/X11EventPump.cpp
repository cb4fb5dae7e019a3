#include "linux/qt/X11EventPump.h"

#include <QAbstractEventDispatcher>

namespace torvo {

X11EventPump::X11EventPump(X11Connection& connection) : m_arrived(connection.descriptor(), QSocketNotifier::Read) {
    QObject::connect(&m_arrived, &QSocketNotifier::activated, &m_arrived, [&connection] { connection.dispatch(); });
    // What came while a request waited for its answer is in memory already, and makes nothing readable.
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, &m_arrived,
                     [&connection] { connection.dispatch(); });
}

} // namespace torvo
