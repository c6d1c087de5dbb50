#include "sketch/edgebuffer.h"

#include "sketch/kernel/edgekernel.h"

namespace {

// The percentages of one run in their fixed order, given out in step with the
// rows that are done.
class ProgressSchedule
{
public:
    ProgressSchedule(int width, int height, const sketch::ProgressReport &report)
        : m_width(width)
        , m_eroded(width > 4 && height > 4 ? width - 4 : 0)
        , m_report(report)
    {
    }

    void start() { reportUpTo(1); }
    void advance(int done, int total)
    {
        reportUpTo(static_cast<int>(static_cast<qint64>(count() - 1) * done / total));
    }
    void finish() { reportUpTo(count()); }

private:
    int count() const { return 1 + m_eroded + 2 + m_width + 1; }

    int percent(int index) const
    {
        if (index == 0)
            return 30;
        index -= 1;
        if (index < m_eroded)
            return 30 + scaled(index + 2);
        index -= m_eroded;
        if (index < 2)
            return index == 0 ? 60 : 70;
        index -= 2;
        return index < m_width ? 70 + scaled(index) : 99;
    }

    int scaled(int column) const { return static_cast<int>(qint64(30) * column / m_width); }

    void reportUpTo(int end)
    {
        if (!m_report)
            return;
        for (; m_next < end; ++m_next)
            m_report(percent(m_next));
    }

    int m_width;
    int m_eroded;
    int m_next = 0;
    const sketch::ProgressReport &m_report;
};

} // namespace

void inverterodesketch(const QImage &photo, unsigned char *edges,
                       const sketch::ProgressReport &progress)
{
    ProgressSchedule schedule(photo.width(), photo.height(), progress);
    if (!photo.isNull()) {
        schedule.start();
        const sketch::ConstImageView view {photo.constBits(), photo.bytesPerLine(), photo.width(),
                                           photo.height()};
        sketch::edgeKernel(view, edges, [&](int rows) { schedule.advance(rows, photo.height()); });
    }
    schedule.finish();
}

bool is_white_mw(unsigned char level)
{
    return level > 254;
}
