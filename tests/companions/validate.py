"""Validates the JSON document on standard input against a schema: validate.py SCHEMA

Exit status: 0 valid, 1 not valid (with the reason), 77 if jsonschema is not installed.
"""

import json
import sys

try:
    import jsonschema
except ImportError:
    sys.exit(77)

with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft202012Validator.check_schema(schema)
try:
    jsonschema.validate(json.load(sys.stdin), schema, cls=jsonschema.Draft202012Validator)
except jsonschema.ValidationError as error:
    print(error.message)
    sys.exit(1)
