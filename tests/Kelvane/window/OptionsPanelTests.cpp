#include "WindowHarness.h"
#include "fixtures/PdfProbe.h"

#include <QtTest/QTest>

#include <set>

namespace kelvane::testing {
namespace {

struct OptionsPanelTest : WindowHarness {
    const QStringList sections{"sectionTargetSize", "sectionPages",   "sectionQuality",
                               "sectionSize",       "sectionDetails", "sectionAnimation",
                               "sectionPdfPages",   "sectionPaper",   "sectionSettings"};

    std::set<QString> shownSections() const {
        std::set<QString> shown;
        for (const QString& name : sections)
            if (shows(name))
                shown.insert(name);
        return shown;
    }
    QQuickItem* comboOf(const QString& picker) const { return item(picker + "Box"); }
    QStringList choicesOf(const QString& picker) const {
        QStringList labels;
        for (const QVariant& choice : item(picker)->property("choices").toList())
            labels << choice.toMap().value("label").toString();
        return labels;
    }
};

TEST_F(OptionsPanelTest, EachRecipeShowsOnlyTheSectionsThatMatterForIt) {
    const std::pair<Recipe, std::set<QString>> expected[] = {
        {Recipe::toJPG, {"sectionQuality", "sectionSize", "sectionDetails"}},
        {Recipe::toPNG, {"sectionSize", "sectionDetails"}},
        {Recipe::resize, {"sectionQuality", "sectionSize", "sectionDetails"}},
        {Recipe::stripMetadata, {"sectionQuality"}},
        {Recipe::shrink, {"sectionTargetSize"}},
        {Recipe::imagesToPDF, {"sectionPages"}},
        {Recipe::videoToGIF, {"sectionAnimation"}},
        {Recipe::videoHEVC, {"sectionSettings"}},
        {Recipe::toAIFF, {"sectionSettings"}},
        {Recipe::docToPDF, {"sectionPaper"}},
        {Recipe::docToRTF, {"sectionSettings"}},
        {Recipe::pdfToPNG, {"sectionPdfPages"}},
        {Recipe::pdfToJPG, {"sectionPdfPages"}},
        {Recipe::unzip, {"sectionSettings"}},
    };
    for (const auto& [recipe, shown] : expected) {
        store.setRecipe(recipe);
        EXPECT_EQ(shownSections(), shown) << recipe.rawValue();
        EXPECT_TRUE(shows("sectionWhere"));
    }
    QQuickItem* pdfSlider =
        qobject_cast<QQuickItem*>(all(item("sectionPdfPages"), "qualitySlider").value(0));
    ASSERT_NE(pdfSlider, nullptr);
    store.setRecipe(Recipe::pdfToPNG);
    EXPECT_FALSE(pdfSlider->isVisible());
    store.setRecipe(Recipe::pdfToJPG);
    EXPECT_TRUE(pdfSlider->isVisible());
    EXPECT_EQ(choicesOf("dpiPicker"),
              (QStringList{"72 dpi · screen", "144 dpi · sharp", "300 dpi · print"}));
    // The Options button hides and shows the whole inspector.
    EXPECT_TRUE(shows("optionsPanel"));
    click(item("Options"));
    EXPECT_FALSE(store.showOptions());
    EXPECT_FALSE(shows("optionsPanel"));
    click(item("Options"));
    EXPECT_TRUE(shows("optionsPanel"));
}

TEST_F(OptionsPanelTest, PresetDescriptionsAndTheSampleNameFollowTheRecipe) {
    store.setRecipe(Recipe::toPNG);
    EXPECT_EQ(textOf("whereResultsGo"),
              "Next to the original, named “File (converted).png”. Existing files are never "
              "replaced.");
    store.setRecipe(Recipe::zip);
    EXPECT_TRUE(textOf("whereResultsGo").contains("“File.zip”"));
    EXPECT_EQ(textOf("presetDescription"),
              "Several files dropped together go into one “Archive.zip”. A single item keeps "
              "its own name.");
    store.setRecipe(Recipe::video720);
    EXPECT_EQ(textOf("presetDescription"),
              "Re-encodes with the x264 H.264 encoder, scaling to fit while keeping the shape of "
              "the picture.");
    store.setRecipe(Recipe::pdfToJPG);
    EXPECT_TRUE(textOf("whereResultsGo").contains("“File (pages)”"));
}

TEST_F(OptionsPanelTest, PickersShowTheCurrentChoiceAndSetTheOptions) {
    store.setRecipe(Recipe::toJPG);
    EXPECT_FALSE(shows("longestSidePicker"));
    click(item("limitToggleSwitch"));
    EXPECT_TRUE(store.options().limitDimension);
    EXPECT_TRUE(shows("longestSidePicker"));
    EXPECT_EQ(comboOf("longestSidePicker")->property("currentText").toString(), "2048 px");

    click(item("exifToggleSwitch"));
    EXPECT_FALSE(store.options().keepMetadata);

    store.setRecipe(Recipe::resize); // resizing always applies the longest side
    click(item("limitToggleSwitch"));
    EXPECT_TRUE(shows("longestSidePicker"));

    // The shrink target picked shows in the caption.
    store.setRecipe(Recipe::shrink);
    EXPECT_TRUE(textOf("shrinkCaption").contains("stays under 1 MB,"));
    click(item("target-500 KB"));
    EXPECT_DOUBLE_EQ(store.options().targetMB, 0.5);
    EXPECT_EQ(textOf("shrinkCaption"),
              "Kelvane searches for the highest quality that stays under 500 KB, and scales the "
              "image down only if it has to.");
    click(item("target-5 MB"));
    EXPECT_DOUBLE_EQ(store.options().targetMB, 5.0);

    // The GIF pickers offer their choices in order.
    store.setRecipe(Recipe::videoToGIF);
    EXPECT_EQ(choicesOf("fpsPicker"),
              (QStringList{"6 fps", "10 fps", "12 fps", "15 fps", "20 fps", "24 fps"}));
    EXPECT_EQ(choicesOf("lengthPicker"),
              (QStringList{"First 5 s", "First 10 s", "First 15 s", "First 30 s", "First 60 s"}));
    EXPECT_EQ(comboOf("widthPicker")->property("currentText").toString(), "480 px");
    QMetaObject::invokeMethod(comboOf("widthPicker"), "activated", Q_ARG(int, 4));
    EXPECT_EQ(store.options().gifWidth, 1080);
}

TEST_F(OptionsPanelTest, QualityShowsAsAPercentageAndStopsAtItsLowest) {
    store.setRecipe(Recipe::toJPG);
    EXPECT_EQ(textOf("qualityText"), "85%");
    model.options()->setQuality(0.1);
    EXPECT_DOUBLE_EQ(store.options().quality, 0.3);
    EXPECT_EQ(textOf("qualityText"), "30%");
    QQuickItem* slider =
        qobject_cast<QQuickItem*>(all(item("sectionQuality"), "qualitySlider").value(0));
    ASSERT_NE(slider, nullptr);
    EXPECT_DOUBLE_EQ(slider->property("from").toDouble(), 0.3);

    // Dragging the handle to the far right end sets the best quality.
    const QPointF right = slider->mapToScene(QPointF(slider->width() - 1, slider->height() / 2));
    const QPointF handle = slider->mapToScene(QPointF(4, slider->height() / 2));
    QTest::mousePress(window, Qt::LeftButton, {}, handle.toPoint());
    QTest::mouseMove(window, right.toPoint());
    QTest::mouseRelease(window, Qt::LeftButton, {}, right.toPoint());
    EXPECT_GT(store.options().quality, 0.95);
}

TEST_F(OptionsPanelTest, ThePaperSizeChosenReachesTheNextConversion) {
    store.setRecipe(Recipe::docToPDF);
    EXPECT_EQ(choicesOf("paperPicker"), (QStringList{"US Letter", "A4"}));
    EXPECT_EQ(comboOf("paperPicker")->property("currentText").toString(), "US Letter");

    QMetaObject::invokeMethod(comboOf("paperPicker"), "activated", Q_ARG(int, 1));
    EXPECT_EQ(store.options().pdfPageSize, PageSize::a4);
    EXPECT_EQ(comboOf("paperPicker")->property("currentText").toString(), "A4");

    dropFiles({temp.write("Letter.txt", "Dear reader,\n")});
    ASSERT_TRUE(waitForIdle());
    ASSERT_EQ(store.jobs()[0].state, Job::State::done);
    fixtures::PdfProbe pdf(store.jobs()[0].outputs.front());
    ASSERT_TRUE(pdf.isValid());
    EXPECT_NEAR(pdf.pageSize(0).width(), 595.3, 1.0);
    EXPECT_NEAR(pdf.pageSize(0).height(), 841.9, 1.0);
}

} // namespace
} // namespace kelvane::testing
