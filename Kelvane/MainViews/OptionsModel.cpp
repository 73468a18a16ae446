#include "MainViews/OptionsModel.h"

#include <QVariantMap>

#include <algorithm>
#include <cmath>

namespace kelvane {
namespace {

QVariantMap choice(const QVariant& value, const QString& label) {
    return {{QStringLiteral("value"), value}, {QStringLiteral("label"), label}};
}

template <typename Number>
QVariantList numbered(std::initializer_list<Number> values, const QString& before,
                      const QString& after) {
    QVariantList list;
    for (Number value : values)
        list << choice(value, before + QString::number(value) + after);
    return list;
}

} // namespace

OptionsModel::OptionsModel(Store& store, QObject* parent)
    : QObject(parent)
    , store_(store) {
    connect(&store_, &Store::optionsChanged, this, &OptionsModel::changed);
    connect(&store_, &Store::recipeChanged, this, &OptionsModel::changed);
}

template <typename Change> void OptionsModel::edit(Change change) {
    ConversionOptions edited = store_.options();
    change(edited);
    store_.setOptions(edited);
}

void OptionsModel::setQuality(double quality) {
    edit([&](ConversionOptions& o) { o.quality = std::clamp(quality, lowestQuality, 1.0); });
}

QString OptionsModel::qualityText() const {
    return QString::number(std::llround(quality() * 100.0)) + QLatin1Char('%');
}

void OptionsModel::setLimitDimension(bool limit) {
    edit([&](ConversionOptions& o) { o.limitDimension = limit; });
}

void OptionsModel::setMaxDimension(int pixels) {
    edit([&](ConversionOptions& o) { o.maxDimension = pixels; });
}

void OptionsModel::setTargetMB(double megabytes) {
    edit([&](ConversionOptions& o) { o.targetMB = megabytes; });
}

void OptionsModel::setGifFPS(int fps) {
    edit([&](ConversionOptions& o) { o.gifFPS = fps; });
}

void OptionsModel::setGifWidth(int pixels) {
    edit([&](ConversionOptions& o) { o.gifWidth = pixels; });
}

void OptionsModel::setGifMaxSeconds(int seconds) {
    edit([&](ConversionOptions& o) { o.gifMaxSeconds = seconds; });
}

void OptionsModel::setKeepMetadata(bool keep) {
    edit([&](ConversionOptions& o) { o.keepMetadata = keep; });
}

QString OptionsModel::pdfPageSize() const {
    const auto raw = options().pdfPageSize.rawValue();
    return QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size()));
}

void OptionsModel::setPdfPageSize(const QString& rawValue) {
    if (const auto size = PageSize::fromRawValue(rawValue.toStdString()))
        edit([&](ConversionOptions& o) { o.pdfPageSize = *size; });
}

void OptionsModel::setPdfImageDPI(int dpi) {
    edit([&](ConversionOptions& o) { o.pdfImageDPI = dpi; });
}

QVariantMap OptionsModel::sections() const {
    const OptionSections shown = OptionsText::sectionsFor(store_.recipe());
    return {
        {QStringLiteral("targetSize"), shown.targetSize},
        {QStringLiteral("imagePages"), shown.imagePages},
        {QStringLiteral("quality"), shown.quality},
        {QStringLiteral("size"), shown.size},
        {QStringLiteral("sizeAlwaysOn"), shown.sizeAlwaysOn},
        {QStringLiteral("details"), shown.details},
        {QStringLiteral("animation"), shown.animation},
        {QStringLiteral("pdfPages"), shown.pdfPages},
        {QStringLiteral("pdfQuality"), shown.pdfQuality},
        {QStringLiteral("paper"), shown.paper},
        {QStringLiteral("settings"), shown.settings},
    };
}

QVariantList OptionsModel::targetChoices() {
    QVariantList list;
    for (double megabytes : {0.25, 0.5, 1.0, 2.0, 5.0})
        list << choice(megabytes, QString::fromStdString(Recipe::formatMB(megabytes)));
    return list;
}

QVariantList OptionsModel::dimensionChoices() {
    return numbered({640, 1024, 1280, 1600, 2048, 3000, 4096}, {}, QStringLiteral(" px"));
}

QVariantList OptionsModel::fpsChoices() {
    return numbered({6, 10, 12, 15, 20, 24}, {}, QStringLiteral(" fps"));
}

QVariantList OptionsModel::widthChoices() {
    return numbered({320, 480, 640, 800, 1080}, {}, QStringLiteral(" px"));
}

QVariantList OptionsModel::lengthChoices() {
    return numbered({5, 10, 15, 30, 60}, QStringLiteral("First "), QStringLiteral(" s"));
}

QVariantList OptionsModel::dpiChoices() {
    return {choice(72, QStringLiteral("72 dpi · screen")),
            choice(144, QStringLiteral("144 dpi · sharp")),
            choice(300, QStringLiteral("300 dpi · print"))};
}

QVariantList OptionsModel::paperChoices() {
    QVariantList list;
    for (PageSize size : PageSize::allCases()) {
        const QString raw = QString::fromUtf8(size.rawValue().data(),
                                              static_cast<qsizetype>(size.rawValue().size()));
        list << choice(raw, raw);
    }
    return list;
}

} // namespace kelvane
