"""A person at a workstation that `tools/workstation` has laid: the report editor, the viewer, the studies,
and pictures of what is seen. For the tests and the demonstration alike."""
