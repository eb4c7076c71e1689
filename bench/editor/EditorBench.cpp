// Editor document costs on a 5120 × 2880 screenshot-like image: the tiled, run-length
// packed undo history against full snapshots with a copy per edit. Per-event times are
// collected by hand and reported as median_ms / p95_ms counters.
#include "NaiveSnapshotCanvas.h"
#include "ScreenshotLikeImage.h"

#include "editor/imaging/ColorFilters.h"
#include "editor/document/EditorCanvasModel.h"

#include <QGuiApplication>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <cmath>
#include <fstream>
#include <functional>
#include <unistd.h>
#include <vector>

namespace {

constexpr int imageWidth = 5120;
constexpr int imageHeight = 2880;
constexpr double megabyte = 1024.0 * 1024.0;

const QImage &screenshot()
{
    static const QImage image = screenshotLikeImage(imageWidth, imageHeight);
    return image;
}

double residentMegabytes()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / megabyte;
}

double threadCpuMilliseconds()
{
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

// Wall and CPU time of one event: on a shared machine the CPU time shows the cost
// without the wait for a core.
struct EventTimer {
    std::chrono::steady_clock::time_point wall = std::chrono::steady_clock::now();
    double cpu = threadCpuMilliseconds();
};

struct EventTimes {
    std::vector<double> wall;
    std::vector<double> cpu;
    void add(const EventTimer &start)
    {
        wall.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start.wall).count());
        cpu.push_back(threadCpuMilliseconds() - start.cpu);
    }
};

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

void reportTimes(benchmark::State &state, const EventTimes &times, const std::string &prefix = "")
{
    if (times.wall.empty())
        return;
    std::vector<double> sorted = times.wall;
    std::sort(sorted.begin(), sorted.end());
    state.counters[prefix + "median_ms"] = median(times.wall);
    state.counters[prefix + "p95_ms"] = sorted[std::min(sorted.size() - 1, sorted.size() * 95 / 100)];
    state.counters[prefix + "cpu_median_ms"] = median(times.cpu);
}

// The window's backing store at zoom 1: repainted where asked, as the widget is.
class BackingStore {
public:
    explicit BackingStore(QSize size) : pixels_(size, QImage::Format_RGB32) {}
    void repaint(const EditorCanvasModel &canvas, const QRegion &region)
    {
        if (region.isEmpty())
            return;
        QPainter p(&pixels_);
        for (const QRect &rect : region)
            canvas.paint(p, rect);
    }
    // The plain design redraws the whole view: black, then the image.
    void repaintWhole(const QImage &image)
    {
        QPainter p(&pixels_);
        p.fillRect(pixels_.rect(), Qt::black);
        p.setCompositionMode(QPainter::CompositionMode_Source);
        p.drawImage(QPoint(0, 0), image);
    }

private:
    QImage pixels_;
};

// A scribble across the image, about 14 points per pointer event.
QPointF penPoint(int i)
{
    const double t = i * 0.012;
    return QPointF(300 + (imageWidth - 600) * 0.5 * (1 + std::sin(t * 1.3)),
                   300 + (imageHeight - 600) * 0.5 * (1 + std::sin(t * 2.1 + 0.7)));
}

QRectF editRect(int i)
{
    return QRectF(200 + (i * 397) % 3000, 150 + (i * 211) % 1500, 600 + (i * 131) % 1400, 400 + (i * 89) % 900);
}

const QPen benchPen(Qt::red, 4, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);

// --- one pen segment with its redraw ---

void BM_PenSegment_Ours(benchmark::State &state)
{
    EditorCanvasModel canvas(screenshot());
    canvas.setTool(EditTool::pen);
    BackingStore store(screenshot().size());
    QRegion dirty; // what the widget would get from update()
    QObject::connect(&canvas, &EditorCanvasModel::repaintNeeded,
                     [&dirty](const QRectF &r) { dirty += r.toAlignedRect(); });
    store.repaint(canvas, QRect(QPoint(0, 0), screenshot().size()));
    int i = 0;
    canvas.press(penPoint(0));
    EventTimes segments, strokeEnds;
    for (auto _ : state) {
        const EventTimer start;
        dirty = QRegion();
        canvas.drag(penPoint(++i));
        store.repaint(canvas, dirty);
        segments.add(start);
        if (i % 100 == 0) { // the pen is lifted and put down again: the stroke's step closes
            const EventTimer liftStart;
            canvas.release(penPoint(i));
            strokeEnds.add(liftStart);
            canvas.press(penPoint(i));
        }
    }
    reportTimes(state, segments);
    reportTimes(state, strokeEnds, "stroke_end_");
}

void BM_PenSegment_Naive(benchmark::State &state)
{
    NaiveSnapshotCanvas canvas(screenshot());
    BackingStore store(screenshot().size());
    canvas.pushUndo();
    int i = 0;
    EventTimes segments;
    for (auto _ : state) {
        const EventTimer start;
        canvas.drawSegment(QLineF(penPoint(i), penPoint(i + 1)), benchPen);
        ++i;
        store.repaintWhole(canvas.image());
        segments.add(start);
        if (i % 100 == 0)
            canvas.pushUndo();
    }
    reportTimes(state, segments);
}

// --- memory of 30 undoable rectangle and pen edits ---

void thirtyEditsOurs(EditorCanvasModel &canvas)
{
    for (int e = 0; e < 30; ++e) {
        if (e % 2 == 0) {
            canvas.setTool(EditTool::rectangle);
            const QRectF r = editRect(e);
            canvas.press(r.topLeft());
            canvas.drag(r.bottomRight());
            canvas.release(r.bottomRight());
        } else {
            canvas.setTool(EditTool::pen);
            canvas.press(penPoint(e * 40));
            for (int s = 1; s <= 40; ++s)
                canvas.drag(penPoint(e * 40 + s));
            canvas.release(penPoint(e * 40 + 40));
        }
    }
}

void BM_ThirtyEditsMemory_Ours(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        EditorCanvasModel canvas(screenshot());
        const double before = residentMegabytes();
        state.ResumeTiming();
        thirtyEditsOurs(canvas);
        state.PauseTiming();
        state.counters["undo_MB"] = double(canvas.document().undoMemoryBytes()) / megabyte;
        state.counters["rss_growth_MB"] = residentMegabytes() - before;
        state.counters["steps"] = canvas.undoCount();
        state.ResumeTiming();
    }
}

void BM_ThirtyEditsMemory_Naive(benchmark::State &state)
{
    for (auto _ : state) {
        state.PauseTiming();
        NaiveSnapshotCanvas canvas(screenshot());
        const double before = residentMegabytes();
        state.ResumeTiming();
        for (int e = 0; e < 30; ++e) {
            if (e % 2 == 0) {
                canvas.drawRectangle(editRect(e), QPen(Qt::red, 4));
            } else {
                canvas.pushUndo();
                for (int s = 0; s < 40; ++s)
                    canvas.drawSegment(QLineF(penPoint(e * 40 + s), penPoint(e * 40 + s + 1)), benchPen);
            }
        }
        state.PauseTiming();
        state.counters["undo_MB"] = double(canvas.undoMemoryBytes()) / megabyte;
        state.counters["rss_growth_MB"] = residentMegabytes() - before;
        state.ResumeTiming();
    }
}

// --- filters, each one undo step ---

struct Filter {
    const char *name;
    std::function<void(EditorCanvasModel &)> ours;
    std::function<QImage(const QImage &)> plain;
};

const std::vector<Filter> &filters()
{
    static const std::vector<Filter> list = {
        {"grayscale", [](EditorCanvasModel &c) { c.grayscale(); },
         [](const QImage &i) { return ColorFilters::applied(i, ColorFilters::grayscale()); }},
        {"brighten", [](EditorCanvasModel &c) { c.adjustExposure(0.35); },
         [](const QImage &i) { return ColorFilters::applied(i, ColorFilters::adjustExposure(0.35)); }},
        {"darken", [](EditorCanvasModel &c) { c.adjustExposure(-0.35); },
         [](const QImage &i) { return ColorFilters::applied(i, ColorFilters::adjustExposure(-0.35)); }},
        {"sepia", [](EditorCanvasModel &c) { c.sepia(); },
         [](const QImage &i) { return ColorFilters::applied(i, ColorFilters::sepia(0.75)); }},
        {"invert", [](EditorCanvasModel &c) { c.invertColors(); },
         [](const QImage &i) { return ColorFilters::applied(i, ColorFilters::invert()); }},
        {"sharpen", [](EditorCanvasModel &c) { c.sharpen(); },
         [](const QImage &i) { return ColorFilters::applied(i, ColorFilters::sharpenLuminance(i, 0.85)); }},
    };
    return list;
}

void BM_Filter_Ours(benchmark::State &state)
{
    const Filter &filter = filters()[size_t(state.range(0))];
    state.SetLabel(filter.name);
    EditorCanvasModel canvas(screenshot());
    EventTimes times;
    for (auto _ : state) {
        const EventTimer start;
        filter.ours(canvas);
        times.add(start);
        state.PauseTiming();
        state.counters["step_MB"] = double(canvas.document().undoMemoryBytes()) / megabyte;
        canvas.undo();
        state.ResumeTiming();
    }
    reportTimes(state, times);
}

void BM_Filter_Naive(benchmark::State &state)
{
    const Filter &filter = filters()[size_t(state.range(0))];
    state.SetLabel(filter.name);
    NaiveSnapshotCanvas canvas(screenshot());
    EventTimes times;
    for (auto _ : state) {
        const EventTimer start;
        canvas.applyFilter(filter.plain);
        times.add(start);
        state.PauseTiming();
        state.counters["step_MB"] = double(canvas.undoMemoryBytes()) / megabyte;
        canvas.undo();
        state.ResumeTiming();
    }
    reportTimes(state, times);
}

// --- undo and redo, with the redraw ---

enum EditKind { rectangleEdit, penStroke, filterStep };

void makeEdit(EditorCanvasModel &canvas, int kind)
{
    if (kind == rectangleEdit) {
        canvas.setTool(EditTool::rectangle);
        canvas.press({400, 300});
        canvas.drag({4600, 2500});
        canvas.release({4600, 2500});
    } else if (kind == penStroke) {
        canvas.setTool(EditTool::pen);
        canvas.press(penPoint(0));
        for (int s = 1; s <= 200; ++s)
            canvas.drag(penPoint(s));
        canvas.release(penPoint(200));
    } else {
        canvas.invertColors();
    }
}

void BM_UndoRedo_Ours(benchmark::State &state)
{
    const int kind = int(state.range(0));
    state.SetLabel(kind == rectangleEdit ? "rectangle" : kind == penStroke ? "pen stroke" : "filter");
    EditorCanvasModel canvas(screenshot());
    BackingStore store(screenshot().size());
    QRegion dirty; // what the widget would get from update()
    QObject::connect(&canvas, &EditorCanvasModel::repaintNeeded,
                     [&dirty](const QRectF &r) { dirty += r.toAlignedRect(); });
    makeEdit(canvas, kind);
    EventTimes times;
    bool undoing = true;
    for (auto _ : state) {
        const EventTimer start;
        dirty = QRegion();
        if (undoing)
            canvas.undo();
        else
            canvas.redo();
        store.repaint(canvas, dirty);
        times.add(start);
        undoing = !undoing;
    }
    reportTimes(state, times);
}

void BM_UndoRedo_Naive(benchmark::State &state)
{
    const int kind = int(state.range(0));
    state.SetLabel(kind == rectangleEdit ? "rectangle" : kind == penStroke ? "pen stroke" : "filter");
    NaiveSnapshotCanvas canvas(screenshot());
    BackingStore store(screenshot().size());
    if (kind == filterStep)
        canvas.applyFilter([](const QImage &i) { return ColorFilters::applied(i, ColorFilters::invert()); });
    else
        canvas.drawRectangle(QRectF(400, 300, 4200, 2200), QPen(Qt::red, 4));
    EventTimes times;
    bool undoing = true;
    for (auto _ : state) {
        const EventTimer start;
        if (undoing)
            canvas.undo();
        else
            canvas.redo();
        store.repaintWhole(canvas.image());
        times.add(start);
        undoing = !undoing;
    }
    reportTimes(state, times);
}

// Walking back through ten filter steps: below the top, each undo packs before it unpacks.
void BM_UndoChain_Ours(benchmark::State &state)
{
    EditorCanvasModel canvas(screenshot());
    BackingStore store(screenshot().size());
    QRegion dirty;
    QObject::connect(&canvas, &EditorCanvasModel::repaintNeeded,
                     [&dirty](const QRectF &r) { dirty += r.toAlignedRect(); });
    for (int i = 0; i < 10; ++i)
        i % 2 ? canvas.invertColors() : canvas.grayscale();
    EventTimes times;
    for (auto _ : state) {
        if (!canvas.canUndo()) {
            state.PauseTiming();
            while (canvas.redo()) {
            }
            state.ResumeTiming();
        }
        const EventTimer start;
        dirty = QRegion();
        canvas.undo();
        store.repaint(canvas, dirty);
        times.add(start);
    }
    reportTimes(state, times);
}

void BM_UndoChain_Naive(benchmark::State &state)
{
    NaiveSnapshotCanvas canvas(screenshot());
    BackingStore store(screenshot().size());
    for (int i = 0; i < 10; ++i)
        canvas.applyFilter([i](const QImage &image) {
            return ColorFilters::applied(image, i % 2 ? ColorFilters::invert() : ColorFilters::grayscale());
        });
    EventTimes times;
    for (auto _ : state) {
        if (!canvas.canUndo()) {
            state.PauseTiming();
            while (canvas.redo()) {
            }
            state.ResumeTiming();
        }
        const EventTimer start;
        canvas.undo();
        store.repaintWhole(canvas.image());
        times.add(start);
    }
    reportTimes(state, times);
}

} // namespace

BENCHMARK(BM_PenSegment_Ours)->Iterations(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_PenSegment_Naive)->Iterations(200)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ThirtyEditsMemory_Ours)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ThirtyEditsMemory_Naive)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Filter_Ours)->DenseRange(0, 5)->Iterations(7)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Filter_Naive)->DenseRange(0, 5)->Iterations(7)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UndoRedo_Ours)->DenseRange(0, 2)->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UndoRedo_Naive)->DenseRange(0, 2, 2)->Iterations(40)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UndoChain_Ours)->Iterations(30)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UndoChain_Naive)->Iterations(30)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv); // fonts for the screenshot's text and the callouts
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
