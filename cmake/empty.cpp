// Placeholder for a folder that has no sources yet.
