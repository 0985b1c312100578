#include "dashboard/web_assets.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace OHOS::Host::Dashboard {
namespace {

namespace fs = std::filesystem;

const char* ContentTypeOf(const std::string& extension)
{
    if (extension == ".html") {
        return "text/html; charset=utf-8";
    }
    if (extension == ".js") {
        return "text/javascript; charset=utf-8";
    }
    if (extension == ".css") {
        return "text/css; charset=utf-8";
    }
    if (extension == ".svg") {
        return "image/svg+xml";
    }
    if (extension == ".png") {
        return "image/png";
    }
    if (extension == ".json") {
        return "application/json";
    }
    return nullptr;
}

}  // namespace

std::optional<WebAssets> WebAssets::Load(const std::string& root, std::string& error)
{
    std::error_code failure;
    fs::recursive_directory_iterator it(root, fs::directory_options::none, failure);
    if (failure) {
        error = "cannot read the web root " + root + ": " + failure.message();
        return std::nullopt;
    }
    WebAssets loaded;
    size_t totalBytes = 0;
    for (const fs::recursive_directory_iterator end; it != end; it.increment(failure)) {
        if (failure) {
            error = "cannot read the web root " + root + ": " + failure.message();
            return std::nullopt;
        }
        if (!it->is_regular_file(failure)) {
            continue;
        }
        const fs::path& path = it->path();
        const char* contentType = ContentTypeOf(path.extension().string());
        if (contentType == nullptr) {
            continue;
        }
        const uintmax_t size = it->file_size(failure);
        if (failure || loaded.assets_.size() >= MAX_FILES || size > MAX_TOTAL_BYTES - totalBytes) {
            error = "the web root " + root + " holds more than " + std::to_string(MAX_FILES) + " files or " +
                    std::to_string(MAX_TOTAL_BYTES) + " bytes: is it the dashboard's?";
            return std::nullopt;
        }
        std::ifstream file(path, std::ios::binary);
        std::string body((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        if (!file.good() && !file.eof()) {
            error = "cannot read " + path.string();
            return std::nullopt;
        }
        totalBytes += body.size();
        loaded.assets_[path.lexically_relative(root).generic_string()] = {contentType, std::move(body)};
    }
    if (loaded.Find("index.html") == nullptr) {
        error = "the web root " + root + " has no index.html";
        return std::nullopt;
    }
    return loaded;
}

const WebAsset* WebAssets::Find(const std::string& path) const
{
    const auto found = assets_.find(path);
    return found == assets_.end() ? nullptr : &found->second;
}

}  // namespace OHOS::Host::Dashboard
