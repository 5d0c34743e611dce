// SPDX-License-Identifier: MIT
#ifndef DESCRIPTOR_LIMIT_H
#define DESCRIPTOR_LIMIT_H

/** Lets the process open as many descriptors as it may: every service that is listed takes one. */
void raiseDescriptorLimit();

#endif
