// SPDX-License-Identifier: Apache-2.0
#include "Id3v2Frames.h"

#include <id3v2synchdata.h>
#include <textidentificationframe.h>
#include <tfile.h>
#include <unknownframe.h>
#include <urllinkframe.h>
#include <vector>

namespace kelvane::detail {
namespace {

using namespace TagLib::ID3v2;

constexpr char podcastAddress[] = "WFED";
// No frame is called so, and the library leaves the bytes of such a frame alone.
constexpr char hiddenAddress[] = "0FED";

/// The library lets this operation be overridden, but not its parameter's type be named.
struct FactoryAccess : FrameFactory {
    using FrameFactory::updateFrame;
};
template <class Factory, class Header>
Header headerOf(bool (Factory::*)(Header *) const);
using FrameHeader = decltype(headerOf(&FactoryAccess::updateFrame));

class KeepingFrameFactory : public FrameFactory {
protected:
    bool updateFrame(FrameHeader *header) const override
    {
        struct Renamed {
            const char *id;
            const char *name;
            unsigned int firstVersionWithout;
        };
        // Frames of old versions that have no successor in 2.4 would be gone after a save.
        static constexpr Renamed renamed[] = {{"RVAD", "RVAD", 4}, {"EQUA", "EQUA", 4}, {"TSIZ", "TSIZ", 4},
            {"TRDA", "TRDA", 4}, {"RVA", "RVAD", 3}, {"EQU", "EQUA", 3}, {"TSI", "TSIZ", 3}, {"LNK", "LINK", 3},
            {podcastAddress, hiddenAddress, 5}, {"WFD", hiddenAddress, 3}};
        for (const Renamed &frame : renamed) {
            if (header->version() < frame.firstVersionWithout && header->frameID() == frame.id) {
                header->setFrameID(frame.name);
                return true;
            }
        }
        return FrameFactory::updateFrame(header);
    }
};

/// A frame of version 2.4 as it stands in a file.
TagLib::ByteVector asStored(const TagLib::ByteVector &content)
{
    const char noFlags[] = {0, 0};
    return TagLib::ByteVector(podcastAddress) + SynchData::fromUInt(content.size()) + TagLib::ByteVector(noFlags, 2)
        + content;
}

/// The frames as they are now. A copy of the library's own list would delete them with itself.
std::vector<Frame *> framesOf(const FrameList &list)
{
    return {list.begin(), list.end()};
}

Frame *addressFrame(const TagLib::ByteVector &content)
{
    const auto first = static_cast<unsigned char>(content[0]);
    if (first <= TagLib::String::UTF8) // the number of an encoding; no address begins with such a byte
        return new TextIdentificationFrame(asStored(content));
    return new UrlLinkFrame(asStored(content));
}

} // namespace

FrameFactory *keepingFrameFactory()
{
    static KeepingFrameFactory factory;
    return &factory;
}

void restorePodcastAddress(Tag &tag)
{
    for (Frame *frame : framesOf(tag.frameList(hiddenAddress))) {
        const auto *bytes = dynamic_cast<const UnknownFrame *>(frame);
        if (bytes && !bytes->data().isEmpty())
            tag.addFrame(addressFrame(bytes->data()));
        tag.removeFrame(frame);
    }
}

void rereadFrames(Tag &tag, TagLib::File &file, long offset)
{
    Tag fresh(&file, offset, keepingFrameFactory());
    for (Frame *frame : framesOf(tag.frameList()))
        tag.removeFrame(frame);
    for (Frame *frame : framesOf(fresh.frameList())) {
        fresh.removeFrame(frame, false);
        tag.addFrame(frame);
    }
    restorePodcastAddress(tag);
}

} // namespace kelvane::detail
