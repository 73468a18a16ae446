#include "catalogue/Recipe.h"

#include <gtest/gtest.h>
#include <set>

namespace kelvane {
namespace {

TEST(Recipe, EveryRecipeBelongsToExactlyOneGroupInCatalogueOrder) {
    std::vector<Recipe> concatenated;
    for (RecipeGroup group : RecipeGroup::allCases())
        for (Recipe recipe : group.recipes()) {
            EXPECT_EQ(recipe.group(), group) << recipe.rawValue();
            concatenated.push_back(recipe);
        }
    const auto& all = Recipe::allCases();
    EXPECT_EQ(all.size(), 31u);
    EXPECT_EQ(RecipeGroup::allCases().size(), 5u);
    EXPECT_EQ(concatenated, std::vector<Recipe>(all.begin(), all.end()));
}

TEST(Recipe, RawValuesAreTheCaseNamesAndDecodeCaseSensitively) {
    // Anchors across the table catch a row that slipped out of step with the enumeration.
    EXPECT_EQ(Recipe(Recipe::toJPG).rawValue(), "toJPG");
    EXPECT_EQ(Recipe(Recipe::imagesToPDF).rawValue(), "imagesToPDF");
    EXPECT_EQ(Recipe(Recipe::videoHEVC).rawValue(), "videoHEVC");
    EXPECT_EQ(Recipe(Recipe::toCAF).rawValue(), "toCAF");
    EXPECT_EQ(Recipe(Recipe::pdfToJPG).rawValue(), "pdfToJPG");
    EXPECT_EQ(Recipe(Recipe::unzip).rawValue(), "unzip");

    std::set<std::string_view> seen;
    for (Recipe recipe : Recipe::allCases()) {
        EXPECT_EQ(Recipe::fromRawValue(recipe.rawValue()), recipe);
        EXPECT_EQ(recipe.id(), recipe.rawValue());
        EXPECT_TRUE(seen.insert(recipe.rawValue()).second) << recipe.rawValue();
    }
    EXPECT_FALSE(Recipe::fromRawValue("VideoHEVC"));
    EXPECT_FALSE(Recipe::fromRawValue("tojpg"));
    EXPECT_FALSE(Recipe::fromRawValue(""));
    EXPECT_EQ(RecipeGroup::fromRawValue("Documents"), RecipeGroup::documents);
    EXPECT_FALSE(RecipeGroup::fromRawValue("documents"));
}

TEST(Recipe, OnlyFolderOrSameFormatRecipesLackAnExtensionAndOnlyTwoCombineInputs) {
    const std::set<Recipe::Value> withoutExtension = {
        Recipe::resize, Recipe::stripMetadata, Recipe::pdfToPNG, Recipe::pdfToJPG, Recipe::unzip};
    for (Recipe recipe : Recipe::allCases()) {
        EXPECT_EQ(!recipe.outputExtension().has_value(), withoutExtension.count(recipe) == 1)
            << recipe.rawValue();
        EXPECT_EQ(recipe.combinesInputs(), recipe == Recipe::imagesToPDF || recipe == Recipe::zip)
            << recipe.rawValue();
    }
    EXPECT_EQ(Recipe(Recipe::shrink).outputExtension(), "jpg");
}

TEST(Recipe, AcceptedKindsFollowWhatEachToolCanRead) {
    EXPECT_TRUE(Recipe(Recipe::toWAV).accepts().contains(FileKind::audio));
    EXPECT_TRUE(Recipe(Recipe::toWAV).accepts().contains(FileKind::video));
    EXPECT_FALSE(Recipe(Recipe::extractAudio).accepts().contains(FileKind::audio));
    EXPECT_FALSE(Recipe(Recipe::docToPDF).accepts().contains(FileKind::pdf));
    EXPECT_TRUE(Recipe(Recipe::pdfToPNG).accepts() == FileKindSet{FileKind::pdf});
    EXPECT_TRUE(Recipe(Recipe::unzip).accepts() == FileKindSet{FileKind::archive});
    for (FileKind kind : FileKind::allCases())
        EXPECT_TRUE(Recipe(Recipe::zip).accepts().contains(kind)) << kind.rawValue();
}

TEST(Recipe, ShrinkDockTitleShowsTheTargetSizeAndOthersIgnoreIt) {
    EXPECT_EQ(Recipe(Recipe::shrink).dockTitle(0.5), "Shrink to 500 KB");
    EXPECT_EQ(Recipe(Recipe::shrink).dockTitle(2.0), "Shrink to 2 MB");
    EXPECT_EQ(Recipe(Recipe::shrink).dockTitle(2.5), "Shrink to 2.5 MB");
    for (Recipe recipe : Recipe::allCases()) {
        if (recipe != Recipe::shrink) {
            EXPECT_EQ(recipe.dockTitle(0.5), recipe.dockTitle(25.0)) << recipe.rawValue();
        }
    }
    EXPECT_EQ(Recipe(Recipe::toPNG).dockTitle(1), "\u2192 PNG");
    EXPECT_EQ(Recipe(Recipe::imagesToPDF).dockTitle(1), "Images \u2192 PDF");
}

TEST(Recipe, EveryRecipeHasATitleASentenceAndASymbol) {
    std::set<std::string_view> titles;
    for (Recipe recipe : Recipe::allCases()) {
        EXPECT_TRUE(titles.insert(recipe.title()).second) << recipe.title();
        ASSERT_FALSE(recipe.subtitle().empty()) << recipe.rawValue();
        EXPECT_EQ(recipe.subtitle().back(), '.') << recipe.rawValue();
        EXPECT_FALSE(recipe.symbol().empty()) << recipe.rawValue();
    }
}

// Kilobytes below one megabyte, rounded half away; whole megabytes bare, others with one decimal.
TEST(FormatMB, KilobytesBelowOneMegabyteAndOneDecimalAbove) {
    const std::pair<double, const char*> table[] = {
        {0.0, "0 KB"},    {0.25, "250 KB"},    {0.5, "500 KB"}, {0.0005, "1 KB"},
        {0.0004, "0 KB"}, {0.9995, "1000 KB"}, {1.0, "1 MB"},   {10.0, "10 MB"},
        {25.0, "25 MB"},  {1.5, "1.5 MB"},     {2.5, "2.5 MB"}, {9.99, "10.0 MB"},
        {1.04, "1.0 MB"},
    };
    for (const auto& [megabytes, text] : table)
        EXPECT_EQ(Recipe::formatMB(megabytes), text) << megabytes;
}

} // namespace
} // namespace kelvane
