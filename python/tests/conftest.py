"""The same examples in every run; `--hypothesis-profile=random` looks for new ones."""

from hypothesis import HealthCheck, settings

settings.register_profile("fixed", derandomize=True, deadline=None, suppress_health_check=list(HealthCheck))
settings.register_profile("random", deadline=None, suppress_health_check=list(HealthCheck))
settings.load_profile("fixed")
