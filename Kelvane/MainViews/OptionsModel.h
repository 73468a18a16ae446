#pragma once

#include "MainViews/OptionsText.h"
#include "Store/Store.h"

#include <QObject>
#include <QVariantList>

namespace kelvane {

// The options inspector's view of the store: every option as a property that writes back
// at once, the sections the chosen recipe shows, and the texts that follow both.
class OptionsModel : public QObject {
    Q_OBJECT
    Q_PROPERTY(double quality READ quality WRITE setQuality NOTIFY changed)
    Q_PROPERTY(QString qualityText READ qualityText NOTIFY changed)
    Q_PROPERTY(bool limitDimension READ limitDimension WRITE setLimitDimension NOTIFY changed)
    Q_PROPERTY(int maxDimension READ maxDimension WRITE setMaxDimension NOTIFY changed)
    Q_PROPERTY(double targetMB READ targetMB WRITE setTargetMB NOTIFY changed)
    Q_PROPERTY(int gifFPS READ gifFPS WRITE setGifFPS NOTIFY changed)
    Q_PROPERTY(int gifWidth READ gifWidth WRITE setGifWidth NOTIFY changed)
    Q_PROPERTY(int gifMaxSeconds READ gifMaxSeconds WRITE setGifMaxSeconds NOTIFY changed)
    Q_PROPERTY(bool keepMetadata READ keepMetadata WRITE setKeepMetadata NOTIFY changed)
    Q_PROPERTY(QString pdfPageSize READ pdfPageSize WRITE setPdfPageSize NOTIFY changed)
    Q_PROPERTY(int pdfImageDPI READ pdfImageDPI WRITE setPdfImageDPI NOTIFY changed)

    Q_PROPERTY(QVariantMap sections READ sections NOTIFY changed)
    Q_PROPERTY(QString sampleName READ sampleName NOTIFY changed)
    Q_PROPERTY(QString whereResultsGo READ whereResultsGo NOTIFY changed)
    Q_PROPERTY(QString presetDescription READ presetDescription NOTIFY changed)
    Q_PROPERTY(QString shrinkCaption READ shrinkCaption NOTIFY changed)

    // Each a list of {value, label} in the order offered.
    Q_PROPERTY(QVariantList targetChoices READ targetChoices CONSTANT)
    Q_PROPERTY(QVariantList dimensionChoices READ dimensionChoices CONSTANT)
    Q_PROPERTY(QVariantList fpsChoices READ fpsChoices CONSTANT)
    Q_PROPERTY(QVariantList widthChoices READ widthChoices CONSTANT)
    Q_PROPERTY(QVariantList lengthChoices READ lengthChoices CONSTANT)
    Q_PROPERTY(QVariantList dpiChoices READ dpiChoices CONSTANT)
    Q_PROPERTY(QVariantList paperChoices READ paperChoices CONSTANT)

public:
    static constexpr double lowestQuality = 0.3;

    explicit OptionsModel(Store& store, QObject* parent = nullptr);

    double quality() const { return options().quality; }
    void setQuality(double quality);
    QString qualityText() const;
    bool limitDimension() const { return options().limitDimension; }
    void setLimitDimension(bool limit);
    int maxDimension() const { return options().maxDimension; }
    void setMaxDimension(int pixels);
    double targetMB() const { return options().targetMB; }
    void setTargetMB(double megabytes);
    int gifFPS() const { return options().gifFPS; }
    void setGifFPS(int fps);
    int gifWidth() const { return options().gifWidth; }
    void setGifWidth(int pixels);
    int gifMaxSeconds() const { return options().gifMaxSeconds; }
    void setGifMaxSeconds(int seconds);
    bool keepMetadata() const { return options().keepMetadata; }
    void setKeepMetadata(bool keep);
    QString pdfPageSize() const;
    void setPdfPageSize(const QString& rawValue);
    int pdfImageDPI() const { return options().pdfImageDPI; }
    void setPdfImageDPI(int dpi);

    QVariantMap sections() const;
    QString sampleName() const { return OptionsText::sampleResultName(store_.recipe()); }
    QString whereResultsGo() const { return OptionsText::whereResultsGo(store_.recipe()); }
    QString presetDescription() const { return OptionsText::presetDescription(store_.recipe()); }
    QString shrinkCaption() const { return OptionsText::shrinkCaption(targetMB()); }

    static QVariantList targetChoices();
    static QVariantList dimensionChoices();
    static QVariantList fpsChoices();
    static QVariantList widthChoices();
    static QVariantList lengthChoices();
    static QVariantList dpiChoices();
    static QVariantList paperChoices();

signals:
    void changed();

private:
    const ConversionOptions& options() const { return store_.options(); }
    template <typename Change> void edit(Change change);

    Store& store_;
};

} // namespace kelvane
