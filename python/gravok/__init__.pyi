# stubs: filled in below
