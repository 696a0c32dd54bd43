"""Names of operators in Python. The rule is the library's; ``tavi describe --json`` shows them as well."""
from tavi._core import snake_case

__all__ = ["snake_case"]
