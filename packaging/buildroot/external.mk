include $(sort $(wildcard $(BR2_EXTERNAL_TARNOSNMP_PATH)/package/*/*.mk))
