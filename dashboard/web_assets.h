/*
 * The dashboard's pages, scripts and the vendored front-end libraries, read once at start while
 * the process may still read the build or install tree, and served from memory afterwards: the
 * process that serves them runs as the settings app's uid, which need not be able to read that
 * tree, and no request can name a file that was not there at start.
 */
#ifndef DASHBOARD_WEB_ASSETS_H
#define DASHBOARD_WEB_ASSETS_H

#include <map>
#include <optional>
#include <string>

namespace OHOS::Host::Dashboard {

struct WebAsset {
    std::string contentType;
    std::string body;
};

class WebAssets {
public:
    // The most the web root may hold; a larger tree is a wrong --web-root, not a web app.
    static constexpr size_t MAX_FILES = 64;
    static constexpr size_t MAX_TOTAL_BYTES = 4 * 1024 * 1024;

    // Every regular file below `root` with a type the pages use (.html, .js, .css, .svg, .png,
    // .json), keyed by its path relative to `root` ("index.html", "vendor/uPlot.esm.js").
    // Empty, with `error` saying why, when the root or a file cannot be read, index.html is
    // missing, or the tree is over the limits.
    static std::optional<WebAssets> Load(const std::string& root, std::string& error);

    // The asset at `path` (relative, no leading '/'), or nullptr.
    const WebAsset* Find(const std::string& path) const;

private:
    std::map<std::string, WebAsset> assets_;
};

}  // namespace OHOS::Host::Dashboard

#endif  // DASHBOARD_WEB_ASSETS_H
