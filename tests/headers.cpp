// Nothing of its own: the target that owns the precompiled headers of all tests needs a source.
