// The recent-captures list on 100 rows of 4K screenshots. The reloads report the GUI
// thread's own CPU time (Google Benchmark's CPU column is the calling thread's), so the
// workers decoding alongside do not count; wall time is how long the user waits.
#include "ScreenshotLikeImage.h"

#include "storage/ThumbnailMaker.h"
#include "ui/HistoryTableModel.h"

#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <memory>

namespace {

constexpr int rows = 100;
constexpr int visibleRows = 8;   // the main window shows about seven rows of 64 points
const int roles[] = {Qt::FontRole, Qt::TextAlignmentRole, Qt::ForegroundRole, Qt::CheckStateRole,
                     Qt::DecorationRole, Qt::DisplayRole, Qt::BackgroundRole};

// One 3840 × 2160 PNG copied to 100 paths, so each row is a file of its own.
const QList<CaptureItem> &captures()
{
    static QTemporaryDir dir;
    static const QList<CaptureItem> items = [] {
        const QString first = dir.filePath("Screenshot_0.png");
        screenshotLikeImage(3840, 2160).save(first);
        QList<CaptureItem> list;
        for (int i = 0; i < rows; ++i) {
            const QString path = dir.filePath(QStringLiteral("Screenshot_%1.png").arg(i));
            if (i > 0)
                QFile::copy(first, path);
            list.append({i + 1, CaptureKind::screenshot, path, QDateTime::currentDateTime()});
        }
        return list;
    }();
    return items;
}

// What a table view asks of the model to paint the rows on screen.
void paintVisibleRows(const HistoryTableModel &model)
{
    for (int row = 0; row < visibleRows; ++row)
        for (int column = 0; column < HistoryTableModel::columnTotal; ++column)
            for (int role : roles)
                benchmark::DoNotOptimize(model.data(model.index(row, column), role));
}

void waitForAllTiles(HistoryTableModel &model, int &arrived)
{
    while (arrived < rows)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    benchmark::DoNotOptimize(model.rowCount());
}

// A fresh list: setItems and the first paint, before any tile is back.
void BM_ReloadEmptyCache(benchmark::State &state)
{
    const QList<CaptureItem> &items = captures();
    for (auto _ : state) {
        state.PauseTiming();
        auto model = std::make_unique<HistoryTableModel>();
        state.ResumeTiming();
        model->setItems(items);
        paintVisibleRows(*model);
        state.PauseTiming();
        model.reset();   // drops queued tiles, waits for the running ones
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ReloadEmptyCache)->Unit(benchmark::kMillisecond)->Iterations(20);

// The same, then every tile delivered and handed to the view: the whole GUI-thread bill
// of a reload (CPU) and the time until the last tile shows (wall).
void BM_ReloadUntilEveryTileArrives(benchmark::State &state)
{
    const QList<CaptureItem> &items = captures();
    for (auto _ : state) {
        state.PauseTiming();
        auto model = std::make_unique<HistoryTableModel>();
        int arrived = 0;
        QObject::connect(model.get(), &QAbstractItemModel::dataChanged, [&] { ++arrived; });
        state.ResumeTiming();
        model->setItems(items);
        paintVisibleRows(*model);
        waitForAllTiles(*model, arrived);
        paintVisibleRows(*model);
        state.PauseTiming();
        model.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_ReloadUntilEveryTileArrives)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

// What every history change costs once the tiles are made: no file is decoded again.
void BM_ReloadFullCache(benchmark::State &state)
{
    const QList<CaptureItem> &items = captures();
    HistoryTableModel model;
    int arrived = 0;
    QObject::connect(&model, &QAbstractItemModel::dataChanged, [&] { ++arrived; });
    model.setItems(items);
    waitForAllTiles(model, arrived);
    for (auto _ : state) {
        model.setItems(items);
        paintVisibleRows(model);
    }
}
BENCHMARK(BM_ReloadFullCache)->Unit(benchmark::kMillisecond);

// One tile on a worker, at 1x and 2x, against decoding the whole file first.
void BM_TileFrom4kPng(benchmark::State &state)
{
    const CaptureItem item = captures().first();
    const ThumbnailMaker::Tile tile{QSize(92, 54), qreal(state.range(0)), QColor(242, 242, 242), {}};
    for (auto _ : state)
        benchmark::DoNotOptimize(ThumbnailMaker::image(item, tile));
}
BENCHMARK(BM_TileFrom4kPng)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

void BM_Decode4kPngWhole(benchmark::State &state)
{
    const QString path = captures().first().path;
    for (auto _ : state)
        benchmark::DoNotOptimize(QImage(path));
}
BENCHMARK(BM_Decode4kPngWhole)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
