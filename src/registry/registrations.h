// Registrations as the plug-in module loader sees them. Every successful registration,
// of either registry, receives the next serial number, never reused while the library
// is loaded; so a range of serial numbers names exactly the registrations made during
// a stretch of time, and a name registered anew afterwards, even with a provider
// object at the very same address, falls outside it. Same thread rules as the
// registries: no lock.
#ifndef GRAVOK_SRC_REGISTRY_REGISTRATIONS_H
#define GRAVOK_SRC_REGISTRY_REGISTRATIONS_H

#include <string>
#include <vector>

namespace gvk::detail {

// The serial number that the next successful registration receives.
unsigned long long next_registration_serial();

// How many registrations, in both registries together, hold a serial number from
// `first` up to but not including `end`.
int count_registrations(unsigned long long first, unsigned long long end);

// The names, in ascending order, of those registrations in the store-provider
// registry (`stores`) or the source-provider registry.
std::vector<std::string> registration_names(unsigned long long first,
                                            unsigned long long end, bool stores);

// Unregisters those registrations, destroying their providers; returns how many.
int remove_registrations(unsigned long long first, unsigned long long end);

}  // namespace gvk::detail

#endif  // GRAVOK_SRC_REGISTRY_REGISTRATIONS_H
