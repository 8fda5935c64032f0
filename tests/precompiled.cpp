// Nothing but the place where the tests' common headers are precompiled.
