// SPDX-License-Identifier: MIT
#ifndef KITCHEN_H
#define KITCHEN_H

#include <MDnsLister.h>

/** The record of a service in a subnet that no interface of this host has. */
inline MDnsVeskClient kitchen()
{
    MDnsVeskClient client;
    client.hostName = "kitchen.local.";
    client.serviceName = "Kitchen";
    client.port = 8080;
    client.addresses = {QHostAddress("240.0.0.7")}; // reserved: no local subnet holds it
    client.txt = {{"path", "/"}};
    return client;
}

#endif
