// SPDX-License-Identifier: Apache-2.0

// The groups of the reference, in their order. Nothing includes this.

/// @defgroup tasks Tasks
/// Work that is watched, cancelled and waited for: AsyncTaskIOS to begin with. @ref md_docs_tasks

/// @defgroup items Items and lists
/// Editable items, and lists that know what has changed. @ref md_docs_items

/// @defgroup media Media
/// Records of songs, films and photos, and the readers that fill them. @ref md_docs_media

/// @defgroup devices Devices
/// What describes phones and tablets. UsbDiscovery finds them. @ref md_docs_devices

/// @defgroup storage Storage
/// SQLite databases, and file copies that report. @ref md_docs_storage

/// @defgroup utilities Utilities
/// Files, dates, texts, collections, identifiers, versions. @ref md_docs_utilities

/// @defgroup qt Qt
/// Lists as models of Qt's views, tasks as its signals: the binding, a library of its own. @ref md_docs_qt

/// @defgroup platform Platform
/// Queues, locks, processes, tags, images, USB: what differs between systems is behind these.

/// @defgroup foundation Foundation
/// The words that everything is written in: texts, data, dates, values, arrays, dictionaries, blocks, exceptions.
