// SPDX-License-Identifier: MIT
#ifndef CHANGE_H
#define CHANGE_H

/** What became of something that is listed. */
enum class Change
{
    Added,
    Changed,
    Removed
};

#endif
