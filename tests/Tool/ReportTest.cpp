#include <Markup.hpp>
#include <Report.hpp>
#include <Tavi/Volume.hpp>

#include <Tool/RunTool.hpp>
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <regex>

namespace NORV::HostTest {
namespace {

using namespace TaviTool;
using nlohmann::json;

Session quietSession() {
  Session session;
  session.quiet = true;
  return session;
}

/// Each voxel its own number, as far as the type goes.
Tavi::VolumePtr<uint8> numbered(Tavi::SizeType x, Tavi::SizeType y, Tavi::SizeType z) {
  const Tavi::VolumePtr<uint8> volume(new Tavi::Volume<uint8>(Tavi::Dimension<Tavi::SizeType>(x, y, z)));
  std::iota(volume->getData(), volume->getData() + volume->getSize(), uint8{0});
  return volume;
}

/// The JSON that the script of the page reads.
json dataOf(const std::string& page) {
  const std::string start = "<script type=\"application/json\" id=\"data\">";
  const auto from = page.find(start);
  if (from == std::string::npos) {
    return {};
  }
  const auto begin = from + start.size();
  return json::parse(page.substr(begin, page.find("</script>", begin) - begin));
}

struct Grey {
  std::size_t width = 0, height = 0;
  std::vector<uint8> pixels;
};

/// Decodes a picture with libpng itself.
Grey decoded(const std::string& uri) {
  const std::string prefix = "data:image/png;base64,";
  EXPECT_EQ(uri.substr(0, prefix.size()), prefix);
  std::string bytes;
  uint32 bits = 0;
  int known = 0;
  for (const char c : uri.substr(prefix.size())) {
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto digit = digits.find(c);
    if (digit == std::string::npos) {
      break;  // '='
    }
    bits = bits << 6 | static_cast<uint32>(digit);
    known += 6;
    if (known >= 8) {
      known -= 8;
      bytes += static_cast<char>(bits >> known & 255);
    }
  }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  EXPECT_NE(png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()), 0) << image.message;
  image.format = PNG_FORMAT_GRAY;
  Grey grey{image.width, image.height, std::vector<uint8>(PNG_IMAGE_SIZE(image))};
  EXPECT_NE(png_image_finish_read(&image, nullptr, grey.pixels.data(), 0, nullptr), 0) << image.message;
  return grey;
}

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

TEST(Report, AnEmptyDocumentIsAPage) {
  Session session = quietSession();
  Report::Document document;
  document.title = "Nothing";
  const std::string page = Report::html(session, document);
  EXPECT_EQ(page.substr(0, 15), "<!doctype html>");
  EXPECT_TRUE(page.ends_with("</html>\n"));
  EXPECT_NE(page.find("<title>Nothing</title>"), std::string::npos);
  EXPECT_EQ(countOf(page, "<section"), 0u);
}

TEST(Report, EverySliceOfASmallVolumeIsInItsSheet) {
  Session session = quietSession();
  Report::Document document;
  const auto volume = numbered(6, 5, 7);
  document.views = {{"Scan", "", volume, GreyRange{0.0, 255.0}, Report::Overlay::none, {}}};
  const json data = dataOf(Report::html(session, document));
  ASSERT_EQ(data["sheets"].size(), 1u);
  EXPECT_EQ(data["views"][0]["extents"], (std::vector<int>{7, 5, 6}));
  const auto voxel = [&](std::size_t x, std::size_t y, std::size_t z) {
    return volume->getData()[x + 6 * (y + 5 * z)];
  };
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const json& sheet = data["sheets"][0][axis];
    const auto slices = sheet["slices"].get<std::vector<std::size_t>>();
    std::vector<std::size_t> all(std::size_t(data["views"][0]["extents"][axis]));
    std::iota(all.begin(), all.end(), std::size_t{0});
    ASSERT_EQ(slices, all);
    const Grey grey = decoded(sheet["uri"]);
    const std::size_t width = sheet["width"], height = sheet["height"], columns = sheet["columns"];
    ASSERT_EQ(width, axis == 2 ? 5u : 6u);
    ASSERT_EQ(height, axis == 0 ? 5u : 7u);
    for (std::size_t tile = 0; tile < slices.size(); ++tile) {
      for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
          const std::size_t at = tile % columns * width + x + (tile / columns * height + y) * grey.width;
          const uint8 expected = axis == 0 ? voxel(x, y, tile) : axis == 1 ? voxel(x, tile, y) : voxel(tile, x, y);
          ASSERT_EQ(grey.pixels[at], expected | 1) << axis << " " << tile << " " << x << " " << y;
        }
      }
    }
  }
}

TEST(Report, LargeVolumesAreReducedToBounds) {
  Session session = quietSession();
  const Tavi::VolumePtr<float32> volume(new Tavi::Volume<float32>(Tavi::Dimension<Tavi::SizeType>(896, 8, 200)));
  for (std::size_t i = 0; i < volume->getSize(); ++i) {
    volume->getData()[i] = static_cast<float32>(i % 4);  // the mean of four neighbours along x is 1.5
  }
  Report::Document document;
  document.views = {{"Scan", "", volume, GreyRange{0.0, 3.0}, Report::Overlay::none, {}}};
  const json data = dataOf(Report::html(session, document));
  const json& across = data["sheets"][0];
  EXPECT_EQ(across[0]["width"], Report::mostPixels);
  EXPECT_EQ(across[0]["height"], 2u);
  ASSERT_EQ(across[0]["slices"].size(), Report::mostSlices);
  EXPECT_EQ(across[0]["slices"].front(), 0);
  EXPECT_EQ(across[0]["slices"].back(), 199);
  EXPECT_EQ(across[1]["slices"].size(), 8u);
  const Grey grey = decoded(across[0]["uri"]);
  EXPECT_EQ(grey.pixels[0], 129);
  EXPECT_EQ(grey.pixels[223 + 1 * grey.width], 129);
}

TEST(Report, LabelsBecomeColoursAndAVolumeIsStoredOnce) {
  Session session = quietSession();
  const auto scan = numbered(4, 4, 1);
  const Tavi::VolumePtr<uint32> labels(new Tavi::Volume<uint32>(Tavi::Dimension<Tavi::SizeType>(4, 4, 1)));
  for (std::size_t i = 0; i < 16; ++i) {
    labels->getData()[i] = static_cast<uint32>(i * 8);
  }
  Report::Document document;
  document.views = {{"Scan", "", scan, {}, Report::Overlay::none, {}},
                    {"Objects", "", scan, {}, Report::Overlay::objects, labels}};
  const json data = dataOf(Report::html(session, document));
  EXPECT_EQ(data["sheets"].size(), 2u);
  EXPECT_EQ(data["views"][0]["sheets"], data["views"][1]["sheets"]);
  const std::size_t colours = data["colours"];
  const Grey grey = decoded(data["sheets"][data["views"][1]["labels"].get<std::size_t>()][0]["uri"]);
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_EQ(grey.pixels[i], i == 0 ? 0 : 1 + (8 * i - 1) % colours);
  }
}

TEST(Report, TextOfTheUserStaysText) {
  Session session = quietSession();
  const std::string hostile = "</script><script>alert('x')</script><img src=\"http://a\" onerror=1>&\xFF";
  Report::Document document;
  document.title = document.summary = document.footer = document.histogramCaption = hostile;
  document.facts = {{hostile, hostile}};
  document.checks = {{hostile, hostile, false}};
  document.views = {{hostile, hostile, numbered(2, 2, 2), {}, Report::Overlay::none, {}}};
  document.figures = {{hostile, hostile, Picture{1, 1, 1, {0}}}};
  document.classes = {{hostile, 1, 0.0, 1.0, 0.5}};
  document.columns = {{hostile, hostile, 1}};
  document.objects = {{1, hostile, 5, {0.0, 0.0, 0.0}, {1.0}}};
  document.steps = {{hostile, hostile, 1.0, 1.0, 1.0, {{hostile, 1.0, {{hostile, hostile}}}}}};
  const std::string page = Report::html(session, document);
  EXPECT_EQ(countOf(page, "<script"), 2u);  // the data and the script of the page
  EXPECT_EQ(countOf(page, "</script>"), 2u);
  EXPECT_EQ(page.find("alert('x')</"), std::string::npos);
  EXPECT_EQ(page.find("<img src=\"http"), std::string::npos);
  EXPECT_EQ(dataOf(page)["views"][0]["title"].get<std::string>().substr(0, 9), "</script>");
  EXPECT_EQ(page.find('\xFF'), std::string::npos);
}

TEST(Report, APageRefersToNothingOutside) {
  Session session = quietSession();
  Report::Document document;
  document.views = {{"Scan", "", numbered(2, 2, 2), {}, Report::Overlay::none, {}}};
  const std::string page = Report::html(session, document);
  EXPECT_EQ(page.find("http:"), std::string::npos);
  EXPECT_EQ(page.find("https:"), std::string::npos);
  EXPECT_EQ(page.find("@import"), std::string::npos);
  EXPECT_NE(page.find("default-src 'none'; img-src data:;"), std::string::npos);
}

TEST(Report, TheTableHoldsTheLargestObjectsAndSaysSo) {
  Session session = quietSession();
  Report::Document document;
  document.columns = {{"Mean", "", 2}};
  for (std::size_t i = 1; i <= Report::mostObjects + 5; ++i) {
    document.objects.push_back({i, "pore", i, {}, {std::nan("")}});
  }
  const std::string page = Report::html(session, document);
  EXPECT_EQ(countOf(page, "<tr data-label="), Report::mostObjects);
  EXPECT_EQ(page.find("<tr data-label=\"5\""), std::string::npos);
  EXPECT_NE(page.find("The 1000 largest of 1005 objects."), std::string::npos);
  EXPECT_NE(page.find("<td class=\"number\" data-value=\"\">\u2013</td>"), std::string::npos);
}

TEST(Report, HistogramsCountEachFiniteVoxelOnce) {
  Session session = quietSession();
  const auto whole = Report::histogramOf(session, numbered(16, 16, 1), 64);
  EXPECT_EQ(whole.counts, std::vector<Tavi::SizeType>(64, 4));
  EXPECT_EQ(whole.from, 0.0);
  EXPECT_EQ(whole.to, 256.0);
  const Tavi::VolumePtr<float64> volume(new Tavi::Volume<float64>(Tavi::Dimension<Tavi::SizeType>(5, 1, 1)));
  const std::array values{1.0, 3.0, std::nan(""), std::numeric_limits<double>::infinity(), 2.0};
  std::copy(values.begin(), values.end(), volume->getData());
  EXPECT_EQ(Report::histogramOf(session, volume, 2).counts, (std::vector<Tavi::SizeType>{1, 2}));
  std::fill_n(volume->getData(), 5, 7.5);
  EXPECT_EQ(Report::histogramOf(session, volume, 8).counts, (std::vector<Tavi::SizeType>{5}));
  std::fill_n(volume->getData(), 5, std::nan(""));
  EXPECT_TRUE(Report::histogramOf(session, volume, 8).counts.empty());
  std::fill_n(volume->getData(), 5, 0.0);
  volume->getData()[0] = -std::numeric_limits<double>::max();
  volume->getData()[1] = std::numeric_limits<double>::max();
  const auto extreme = Report::histogramOf(session, volume, 8).counts;
  EXPECT_EQ(std::accumulate(extreme.begin(), extreme.end(), Tavi::SizeType{0}), 5u);
}

TEST(Report, NumbersAreShortAndWhole) {
  EXPECT_EQ(Report::grouped(0), "0");
  EXPECT_EQ(Report::grouped(1234), "1234");
  EXPECT_EQ(Report::grouped(1234567), "1\u202F234\u202F567");
  EXPECT_EQ(Report::decimal(-0.04, 1), "0.0");
  EXPECT_EQ(Report::decimal(-12345.67, 1), "\u221212\u202F345.7");
  EXPECT_EQ(Report::decimal(std::nan(""), 1), "\u2013");
  EXPECT_EQ(Report::percent(0.25), "25.0 %");
  EXPECT_EQ(Report::percent(0.00001), "< 0.1 %");
  EXPECT_EQ(Report::plain(0.1), "0.1");
}

/// The report of the demonstration in a browser; skips where there is none.
TEST(Report, SlidersAndTableWorkInABrowser) {
  const Outcome outcome = runQuietly({"demo", "--output", "results", "--json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto objects = json::parse(outcome.out)["objects"].size();
  const std::string page = readFile("results/report.html");
  EXPECT_LT(page.size(), 12u << 20);
  EXPECT_EQ(countOf(page, "<tr data-label="), objects);
  int status = 77 << 8;
  for (const std::string python : {"/usr/bin/python3", "python3"}) {
    const std::string command = python + " " TAVI_TESTS "/Tool/use_report.py results/report.html " +
                                std::to_string(objects) + " > browser.txt 2>&1";
    status = std::system(command.c_str());
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 77) {
      break;
    }
  }
  const std::string text = readFile("browser.txt");
  if (WIFEXITED(status) && WEXITSTATUS(status) == 77) {
    GTEST_SKIP() << text;
  }
  EXPECT_EQ(status, 0) << text;
}

}  // namespace
}  // namespace NORV::HostTest
