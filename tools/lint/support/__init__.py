"""What the checks of this folder share; a folder of its own keeps it from being run as a check."""
