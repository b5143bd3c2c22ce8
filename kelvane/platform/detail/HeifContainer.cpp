// SPDX-License-Identifier: Apache-2.0
#include "HeifContainer.h"

#include "FileAccess.h"

#include <algorithm>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>

namespace kelvane::detail {
namespace {

constexpr std::uint64_t mostHeaderBytes = 16U << 20;
constexpr std::uint64_t mostBrandBytes = 4096;
constexpr int mostTopLevelBoxes = 1000;

// The header of a box of the file itself, whose body is not read.
struct TopLevelBox {
    std::uint32_t type = 0;
    std::uint64_t body = 0; // offset
    std::uint64_t end = 0;
};

std::optional<TopLevelBox> topLevelBox(
    const HeifItems::ReadFile &readFile, std::uint64_t offset, std::uint64_t fileSize)
{
    const std::vector<std::byte> header = readFile(offset, 16);
    HeifReader reader(header);
    std::uint64_t size = reader.word();
    TopLevelBox box;
    box.type = reader.word();
    box.body = offset + 8;
    if (size == 1) {
        size = reader.number(8);
        box.body = offset + 16;
    }
    const std::uint64_t left = fileSize - offset;
    if (size == 0)
        size = left;
    // A box may reach behind the end of a file that was cut off; what is there of it is not looked at.
    if (reader.isFailed() || size < box.body - offset || size > left)
        return std::nullopt;
    box.end = offset + size;
    return box;
}

std::vector<std::byte> readPart(int descriptor, std::uint64_t fileSize, std::uint64_t offset, std::uint64_t size)
{
    if (offset >= fileSize)
        return {};
    std::vector<std::byte> part(static_cast<std::size_t>(std::min(size, fileSize - offset)));
    part.resize(readAt(descriptor, part, offset));
    return part;
}

} // namespace

std::unique_ptr<HeifContainer> HeifContainer::open(const std::string &path)
{
    std::unique_ptr<HeifContainer> container(new HeifContainer);
    container->_file = openRegularFile(path.c_str());
    const int descriptor = container->_file.get();
    struct stat status = {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        return nullptr;
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    container->_fileSize = fileSize;
    container->_readFile = [=](std::uint64_t offset, std::uint64_t size) {
        return readPart(descriptor, fileSize, offset, size);
    };
    return container->readBoxes() ? std::move(container) : nullptr;
}

std::unique_ptr<HeifContainer> HeifContainer::open(HeifBytes file)
{
    std::unique_ptr<HeifContainer> container(new HeifContainer);
    container->_fileSize = file.size();
    container->_readFile = [file](std::uint64_t offset, std::uint64_t size) {
        HeifReader reader(file);
        reader.take(offset);
        const HeifBytes part = reader.take(std::min<std::uint64_t>(size, reader.rest().size()));
        return std::vector<std::byte>(part.begin(), part.end());
    };
    return container->readBoxes() ? std::move(container) : nullptr;
}

bool HeifContainer::readBoxes()
{
    std::uint64_t offset = 0;
    for (int count = 0; count < mostTopLevelBoxes && offset < _fileSize; ++count) {
        const auto box = topLevelBox(_readFile, offset, _fileSize);
        if (!box)
            return false;
        const std::uint64_t size = box->end - box->body;
        if (box->type == fourCharacters("ftyp"))
            _brands = _readFile(box->body, std::min(size, mostBrandBytes));
        else if (box->type == fourCharacters("meta")) {
            if (_brands.empty() || size > mostHeaderBytes)
                return false;
            _meta = _readFile(box->body, size);
            _items = std::make_unique<HeifItems>(_meta, _readFile, _fileSize);
            return true;
        }
        offset = box->end;
    }
    return false;
}

} // namespace kelvane::detail
