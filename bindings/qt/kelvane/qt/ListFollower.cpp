// SPDX-License-Identifier: Apache-2.0
#include "ListFollower_p.h"

namespace kelvane::qt {

namespace {

ListNews newsOf(const DataItemChangeEventArgs &args, const std::vector<ItemField> &fields)
{
    const DataItemState state = args.item()->itemState();
    if (args.action() == DataItemAction::Add)
        return {ListNews::Comes, ItemSnapshot::read(args.item(), fields)};
    // The list lets both go only after the last event about them. A view must not show what they are until then:
    // items without a record, or additions that were taken back.
    const bool leaves = state == DataItemState::Detached
        || (args.action() == DataItemAction::Rollback && state == DataItemState::Added);
    if (leaves)
        return {ListNews::Leaves, {args.item(), {}, state}};
    return {ListNews::Changed, ItemSnapshot::read(args.item(), fields)};
}

} // namespace

// The watchers share the mailbox and the fields, so that one which is running while the model goes finds both.
ListFollower::ListFollower(QObject *model, std::shared_ptr<DataItemList> list, const Fields &fields)
    : _list(std::move(list)),
      _mailbox(std::make_shared<Mailbox<ListNews>>(model)),
      _changedWatcher(
          [mailbox = _mailbox, fields](const DataItemChangeEventArgs &args) { mailbox->post(newsOf(args, *fields)); }),
      _contentWatcher([mailbox = _mailbox, fields](const DataItemList::Item &added) {
          mailbox->post(added ? ListNews{ListNews::Comes, ItemSnapshot::read(added, *fields)}
                              : ListNews{ListNews::ContentChanged, {}});
      })
{
    _list->addItemChangedWatcher(_changedWatcher);
    if (auto *followed = dynamic_cast<FollowedDataItemList *>(_list.get()))
        followed->addContentWatcher(_contentWatcher);
}

ListFollower::~ListFollower()
{
    _mailbox->close();
    if (auto *followed = dynamic_cast<FollowedDataItemList *>(_list.get()))
        followed->removeContentWatcher(_contentWatcher);
    _list->removeItemChangedWatcher(_changedWatcher);
}

} // namespace kelvane::qt
