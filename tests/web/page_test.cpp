// The page for the browser, as certificateweb serves it.

#include "tests/web/web_process.h"

#include <set>

namespace {

using testing::HasSubstr;
using testing::Not;
using WebPage = WebTest;

struct ServedFile {
    std::string path;
    std::string contentType;
};

void PrintTo(const ServedFile& file, std::ostream* stream) {
    *stream << file.path;
}

class PageFiles : public WebTest, public testing::WithParamInterface<ServedFile> {};

TEST_P(PageFiles, AreServedWithoutLoginUnderAStrictPolicy) {
    const HttpsAnswer answer = stranger()->get(GetParam().path);
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.header("Content-Type"), GetParam().contentType);
    EXPECT_EQ(answer.header("Content-Security-Policy"),
              "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
              "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    EXPECT_EQ(answer.header("X-Content-Type-Options"), "nosniff");
    EXPECT_EQ(answer.header("Referrer-Policy"), "no-referrer");
    EXPECT_EQ(answer.header("X-Frame-Options"), "DENY");
}

INSTANTIATE_TEST_SUITE_P(Web, PageFiles,
                         testing::Values(ServedFile{"/", "text/html; charset=utf-8"},
                                         ServedFile{"/page/style.css", "text/css; charset=utf-8"},
                                         ServedFile{"/page/main.js",
                                                    "text/javascript; charset=utf-8"},
                                         ServedFile{"/page/icon.svg", "image/svg+xml"}));

TEST_F(WebPage, IsNotSentAgainToWhoHasIt) {
    const std::string tag = stranger()->get("/page/main.js").header("ETag");
    const HttpsAnswer again = stranger()->get("/page/main.js", {{"If-None-Match", tag}});
    EXPECT_EQ(again.status, 304);
    EXPECT_EQ(again.body, "");
    EXPECT_NE(tag, stranger()->get("/page/table.js").header("ETag"));
}

// The page's own files that the text names: "/page/style.css", "./table.js".
std::set<std::string> filesNamedIn(const std::string& text) {
    std::set<std::string> files;
    for (const std::string start : {"\"/page/", "\"./"}) {
        for (std::size_t at = text.find(start); at != std::string::npos;
             at = text.find(start, at + 1)) {
            const std::size_t begin = at + start.size();
            files.insert("/page/" + text.substr(begin, text.find('"', begin) - begin));
        }
    }
    return files;
}

TEST_F(WebPage, EveryFileThatItNamesIsServed) {
    std::set<std::string> seen;
    std::set<std::string> next = {"/"};
    while (!next.empty()) {
        const std::string path = *next.begin();
        next.erase(next.begin());
        if (!seen.insert(path).second) {
            continue;
        }
        const HttpsAnswer answer = stranger()->get(path);
        EXPECT_EQ(answer.status, 200) << path;
        EXPECT_THAT(answer.body, Not(HasSubstr("innerHTML"))) << path;
        next.merge(filesNamedIn(answer.body));
    }
    EXPECT_GT(seen.size(), 10U);
}

TEST_F(WebPage, NothingElseIsServedBesideIt) {
    for (const std::string path : {"/page", "/page/CMakeLists.txt", "/page/../main.cpp",
                                   "/page/%2e%2e/main.cpp", "/index.html"}) {
        EXPECT_EQ(stranger()->get(path).status, 401) << path;
        EXPECT_EQ(client->get(path).status, 404) << path;
    }
    const HttpsAnswer refused = stranger()->post("/", {});
    EXPECT_EQ(refused.status, 405);
    EXPECT_EQ(refused.header("Allow"), "GET, HEAD");
}

} // namespace
