// Makes files that did not exist, and puts finished files in the place of others.
//
// What is portable: removing what has a name. What is not: how a name is found that nobody else takes at the same
// moment, who may read what is made, renaming without replacing or over an existing file, and what the name of a device
// is.
#pragma once

#include <filesystem>

namespace files {

/// What becomes of a file that exists already under the name of one that is written.
enum class Existing { replaced, kept };

/// Makes an empty file, adds letters to `name` so that it is its name, and returns its descriptor; negative, with
/// errno, if that fails. Programs that are started do not get the descriptor, and the file can be renamed while it is
/// open.
int new_file(std::filesystem::path& name);

/// Gives a file that was made by new_file the permissions that other new files get, and stores what was written.
/// Returns false, with errno, if that fails.
bool finish(int descriptor);

/// Renames a file. Returns false, with errno, if that fails, also if `target` exists and is kept.
bool rename_file(const std::filesystem::path& name, const std::filesystem::path& target, Existing existing);

/// Returns whether the file is a device or pipe. These are written in place, because a rename would replace them by a
/// file.
bool is_written_in_place(const std::filesystem::path& file);

}  // namespace files
