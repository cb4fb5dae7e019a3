namespace torvo {}
